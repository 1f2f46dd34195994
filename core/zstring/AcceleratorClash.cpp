#include "AcceleratorClash.h"

#include <algorithm>
#include <map>
#include <tuple>
#include <utility>

namespace quire {

namespace {

char16_t folded(char16_t c)
{
    if (c >= u'A' && c <= u'Z')
        return c + 0x20;
    if (c >= 0xC0 && c <= 0xDE && c != 0xD7) // Latin-1 capitals
        return c + 0x20;
    if (c >= 0x391 && c <= 0x3A9) // Greek capitals
        return c + 0x20;
    if (c >= 0x410 && c <= 0x42F) // Cyrillic capitals
        return c + 0x20;
    return c;
}

} // namespace

std::vector<AcceleratorClash> FindAcceleratorClashes(Dictionary& dictionary)
{
    // parent key path -> (key path, access key) of its entries that have one
    std::map<std::string, std::vector<std::pair<std::string, char16_t>>> dialogs;
    for (dictionary.ReSetKeyEnumeration(); dictionary.HasMoreKey();) {
        const std::string key = dictionary.NextKey();
        const char16_t accelerator = dictionary.Accelerator(key.c_str());
        if (accelerator == 0)
            continue;
        const std::size_t slash = key.rfind('/');
        dialogs[key.substr(0, slash == std::string::npos ? 0 : slash)].emplace_back(key, accelerator);
    }
    std::vector<AcceleratorClash> clashes;
    for (auto& [parent, entries] : dialogs) {
        std::sort(entries.begin(), entries.end());
        for (std::size_t i = 0; i < entries.size(); ++i) {
            for (std::size_t j = i + 1; j < entries.size(); ++j) {
                if (folded(entries[i].second) == folded(entries[j].second))
                    clashes.push_back({entries[i].first, entries[j].first, entries[i].second});
            }
        }
    }
    std::sort(clashes.begin(), clashes.end(), [](const AcceleratorClash& a, const AcceleratorClash& b) {
        return std::tie(a.first, a.second) < std::tie(b.first, b.second);
    });
    return clashes;
}

} // namespace quire
