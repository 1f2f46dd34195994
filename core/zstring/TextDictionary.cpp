#include "TextDictionary.h"

#include "private/DictionaryEntry_p.h"
#include "private/DictionaryImpl_p.h"
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
        std::size_t column = 0;
        switch (reader->LineDamage(column)) {
        case quire_private::DictionaryReader::Damage::None:
            break;
        case quire_private::DictionaryReader::Damage::InvalidUtf8:
            problems.push_back({number, "invalid UTF-8 at byte " + std::to_string(column) + ", which a read drops"});
            break;
        case quire_private::DictionaryReader::Damage::Nul:
            problems.push_back({number, "NUL byte at byte " + std::to_string(column) + ", where a read ends the line"});
            break;
        }
        if (line.empty() || (line.size() == 1 && line[0] == 0xFEFF))
            continue;
        const auto status = quire_private::ParseEntry(line, entry);
        if (status != quire_private::EntryStatus::Ok)
            problems.push_back({number, quire_private::EntryStatusText(status)});
    }
    return problems;
}

namespace {

// Key units are narrowed to their low byte when a line is read, so any unit
// with the right low byte stands for a key byte. The bytes the line syntax
// would misread (NUL, line ends, the quote, the equals sign) are written as
// U+01xx, which narrows back to the same byte.
char16_t keyUnit(unsigned char byte)
{
    const bool special = byte == 0 || byte == '\r' || byte == '\n' || byte == '"' || byte == '=';
    return special ? static_cast<char16_t>(0x100 | byte) : byte;
}

// A quote that a reader would take for the end of the entry: one not
// preceded by a backslash (the unit before the value is the "=").
bool hasUnescapedQuote(const std::u16string& text)
{
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == u'"' && (i == 0 || text[i - 1] != u'\\'))
            return true;
    }
    return false;
}

bool hasLoneSurrogate(const std::u16string& text)
{
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t u = text[i];
        if ((u & 0xFC00) == 0xDC00)
            return true;
        if ((u & 0xFC00) == 0xD800) {
            if (i + 1 == text.size() || (text[i + 1] & 0xFC00) != 0xDC00)
                return true;
            ++i;
        }
    }
    return false;
}

// Why value cannot be written as a line, or null when it can.
const char* unwritable(const std::u16string& value, TextEncoding encoding)
{
    if (value.find_first_of(u"\r\n") != std::u16string::npos)
        return "its value holds a line break";
    if (hasUnescapedQuote(value))
        return "its value holds a double quote without a backslash before it";
    if (encoding == TextEncoding::UTF8 && value.find(u'\0') != std::u16string::npos)
        return "its value holds a NUL, which UTF-8 text cannot carry";
    if (encoding == TextEncoding::UTF8 && hasLoneSurrogate(value))
        return "its value holds a lone surrogate, which UTF-8 text cannot carry";
    return nullptr;
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

bool WriteTextDictionary(const Dictionary& dictionary, std::ostream& out, TextEncoding encoding,
                         std::string& error)
{
    if (encoding != TextEncoding::UTF8)
        put(out, std::u16string(1, u'\uFEFF'), encoding);
    for (const auto& [key, value] : dictionary.m_impl->Entries()) {
        const char* why = key.empty() ? "its key is empty" : unwritable(value, encoding);
        if (why) {
            error = "entry \"" + key + "\" cannot be written as a text line: " + why;
            return false;
        }
        // A value ending in a backslash would escape a closing quote, so
        // that line goes unquoted: without any unescaped quote the whole
        // line is the entry.
        const bool quoted = value.empty() || value.back() != u'\\';
        std::u16string line = quoted ? u"\"$$$" : u"$$$";
        for (const char byte : key)
            line.push_back(keyUnit(static_cast<unsigned char>(byte)));
        line += u'=';
        line += value;
        line += quoted ? u"\"\n" : u"\n";
        put(out, line, encoding);
    }
    if (!out) {
        error = "write failed";
        return false;
    }
    return true;
}

} // namespace quire
