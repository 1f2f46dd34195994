// Feeds arbitrary bytes to the preference file reader; a document it accepts
// must survive writing and reading back unchanged.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "PtPreferenceFile.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto first = PtPreferenceFile::parse(QByteArray(reinterpret_cast<const char*>(data), int(size)));
    if (first.status != PtPreferenceFile::Status::Loaded)
        return 0;
    const auto second = PtPreferenceFile::parse(PtPreferenceFile::serialize(first.values));
    if (second.status != PtPreferenceFile::Status::Loaded || second.values.size() > first.values.size())
        std::abort();
    for (const auto& [id, domain] : first.values) {
        if (domain.empty())
            continue;
        const auto it = second.values.find(id);
        if (it == second.values.end() || it->second.size() != domain.size())
            std::abort();
        for (const auto& [key, value] : domain)
            if (!(it->second.at(key) == value))
                std::abort();
    }
    return 0;
}
