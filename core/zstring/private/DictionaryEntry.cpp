#include "DictionaryEntry_p.h"

namespace quire_private {

const HatEscape DictionaryEntry::HatEscapeTable[17] = {
    {u'e', 0x00E9}, {u'Q', 0x0022}, {u'[', 0x201C}, {u']', 0x201D}, {u'{', 0x2018},
    {u'}', 0x2019}, {u'C', 0x00A9}, {u'R', 0x00AE}, {u'T', 0x2122}, {u'D', 0x00B0},
    {u'B', 0x2022}, {u'#', 0x2318}, {u'!', 0x00AC}, {u'I', 0x2206}, {u'S', 0x2211},
    {u'n', 0x000A}, {u'r', 0x000D},
};

const HatEscape DictionaryEntry::HatEscapeTableNoE[16] = {
    {u'Q', 0x0022}, {u'[', 0x201C}, {u']', 0x201D}, {u'{', 0x2018}, {u'}', 0x2019},
    {u'C', 0x00A9}, {u'R', 0x00AE}, {u'T', 0x2122}, {u'D', 0x00B0}, {u'B', 0x2022},
    {u'#', 0x2318}, {u'!', 0x00AC}, {u'I', 0x2206}, {u'S', 0x2211}, {u'n', 0x000A},
    {u'r', 0x000D},
};

std::u16string ConvertHats(std::u16string_view text, const HatEscape* table, std::size_t n)
{
    std::u16string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t c = text[i];
        if (c == u'^' && i + 1 < text.size()) {
            const char16_t next = text[i + 1];
            const HatEscape* row = table;
            const HatEscape* end = table + n;
            while (row != end && row->hat != next)
                ++row;
            if (row != end) {
                out.push_back(row->unit);
                ++i;
                continue;
            }
        }
        out.push_back(c);
    }
    return out;
}

LiteralParts SplitLiteral(std::string_view literal)
{
    LiteralParts parts;
    if (literal.empty())
        return parts;
    if (literal[0] == '$') {
        if (literal.size() < 3 || literal[1] != '$' || literal[2] != '$')
            return parts;
        literal.remove_prefix(3);
    }
    const std::size_t equals = literal.find('=');
    parts.valid = true;
    parts.key = literal.substr(0, equals);
    if (equals != std::string_view::npos)
        parts.defaultText = literal.substr(equals + 1);
    return parts;
}

char16_t AcceleratorOf(std::u16string_view text)
{
    for (std::size_t i = 0; i + 1 < text.size(); ++i) {
        if (text[i] != u'&')
            continue;
        if (text[i + 1] != u'&')
            return text[i + 1];
        ++i;
    }
    return 0;
}

std::u16string WithoutAccelerators(std::u16string_view text)
{
    std::u16string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == u'&' && i + 1 < text.size())
            ++i;
        out.push_back(text[i]);
    }
    return out;
}

const char* EntryStatusText(EntryStatus status)
{
    switch (status) {
    case EntryStatus::Ok:
        return "ok";
    case EntryStatus::BadDollarPrefix:
        return "starts with \"$\" but not with \"$$$\"";
    case EntryStatus::MissingEquals:
        return "no \"=\" between key and value";
    case EntryStatus::EmptyKey:
        return "empty key";
    }
    return "unknown";
}

namespace {

// Index of the first double quote not preceded by a backslash, from `from`.
std::size_t findUnescapedQuote(std::u16string_view line, std::size_t from)
{
    for (std::size_t i = from; i < line.size(); ++i) {
        if (line[i] == u'"' && (i == 0 || line[i - 1] != u'\\'))
            return i;
    }
    return std::u16string_view::npos;
}

} // namespace

EntryStatus ParseEntry(std::u16string_view line, DictionaryEntry& entry)
{
    std::u16string_view text = line;
    const std::size_t open = findUnescapedQuote(line, 0);
    if (open != std::u16string_view::npos) {
        const std::size_t close = findUnescapedQuote(line, open + 1);
        text = line.substr(open + 1, close == std::u16string_view::npos ? std::u16string_view::npos
                                                                         : close - open - 1);
    }
    if (!text.empty() && text[0] == u'$') {
        if (text.size() < 3 || text[1] != u'$' || text[2] != u'$')
            return EntryStatus::BadDollarPrefix;
        text.remove_prefix(3);
    }
    const std::size_t equals = text.find(u'=');
    if (equals == std::u16string_view::npos)
        return EntryStatus::MissingEquals;
    if (equals == 0)
        return EntryStatus::EmptyKey;
    entry.key.resize(equals);
    for (std::size_t i = 0; i < equals; ++i)
        entry.key[i] = static_cast<char>(text[i] & 0xff);
    entry.value.assign(text.substr(equals + 1));
    return EntryStatus::Ok;
}

} // namespace quire_private
