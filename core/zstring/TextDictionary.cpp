#include "TextDictionary.h"

#include "private/DictionaryEntry_p.h"
#include "private/DictionaryReader_p.h"

#include "PtUTF.h"

#include <ostream>

namespace quire {

std::vector<LineProblem> CheckTextDictionary(const void* data, std::size_t size)
{
    std::vector<LineProblem> problems;
    const auto reader = quire_private::DictionaryReader::Make(static_cast<const unsigned char*>(data), size);
    std::u16string line;
    quire_private::DictionaryEntry entry;
    std::size_t number = 0;
    while (reader->NextLine(line)) {
        ++number;
        if (line.empty() || (line.size() == 1 && line[0] == 0xFEFF))
            continue;
        const auto status = quire_private::ParseEntry(line, entry);
        if (status != quire_private::EntryStatus::Ok)
            problems.push_back({number, quire_private::EntryStatusText(status)});
    }
    return problems;
}

namespace {

bool hasUnescapedQuote(const std::u16string& text)
{
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == u'"' && (i == 0 || text[i - 1] != u'\\'))
            return true;
    }
    return false;
}

bool hasLineBreak(const std::u16string& text)
{
    return text.find_first_of(u"\r\n") != std::u16string::npos;
}

void put(std::ostream& out, const std::u16string& text, TextEncoding encoding)
{
    if (encoding == TextEncoding::UTF8) {
        out << ptucsToUtf8(reinterpret_cast<const unsigned short*>(text.c_str()));
        return;
    }
    const bool big = encoding == TextEncoding::UTF16BE;
    for (const char16_t unit : text) {
        const char hi = static_cast<char>(unit >> 8);
        const char lo = static_cast<char>(unit & 0xff);
        out.put(big ? hi : lo);
        out.put(big ? lo : hi);
    }
}

} // namespace

bool WriteTextDictionary(Dictionary& dictionary, std::ostream& out, TextEncoding encoding,
                         std::string& error)
{
    if (encoding != TextEncoding::UTF8)
        put(out, std::u16string(1, u'\uFEFF'), encoding);
    dictionary.ReSetKeyEnumeration();
    while (dictionary.HasMoreKey()) {
        const std::string key = dictionary.NextKey();
        std::u16string value;
        dictionary.RawValue(key.c_str(), value);
        std::u16string line = u"\"$$$";
        for (const char byte : key)
            line.push_back(static_cast<unsigned char>(byte));
        if (key.find_first_of("=\"\r\n") != std::string::npos || hasUnescapedQuote(value)
            || hasLineBreak(value) || (!value.empty() && value.back() == u'\\')
            || (encoding == TextEncoding::UTF8 && value.find(u'\0') != std::u16string::npos)) {
            error = "entry \"" + key + "\" cannot be written as a text line";
            return false;
        }
        line += u'=';
        line += value;
        line += u"\"\n";
        put(out, line, encoding);
    }
    if (!out) {
        error = "write failed";
        return false;
    }
    return true;
}

} // namespace quire
