// Entries of a dictionary: the key of a ZString literal, the parsing of one
// line of a text dictionary, and the hat escapes of values and defaults.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace quire_private {

struct HatEscape {
    char16_t hat;
    char16_t unit;
};

struct DictionaryEntry {
    // The escapes a caret introduces, searched in order.
    static const HatEscape HatEscapeTable[17];
    // The same without ^e, for defaults given in an encoding that can hold
    // the accented letter itself.
    static const HatEscape HatEscapeTableNoE[16];

    std::string key;
    std::u16string value;
    // The entry's numeric id in its dictionary, set when it is stored.
    std::uint32_t id = 0;
};

// Replaces every caret escape of text found in table (of n rows); a caret
// followed by anything else stays as it is.
std::u16string ConvertHats(std::u16string_view text, const HatEscape* table, std::size_t n);

// The parts of a ZString literal: "$$$" + key + "=" + default. A literal
// without the leading "$" is a bare key; one that starts with "$" but not
// "$$$" is malformed.
struct LiteralParts {
    bool valid = false;
    std::string_view key;
    std::string_view defaultText;
};
LiteralParts SplitLiteral(std::string_view literal);

// Access keys: "&" marks the next unit as the key ("&Yes" is Alt+Y), "&&"
// stands for one "&". The first marked unit, or 0 when there is none.
char16_t AcceleratorOf(std::u16string_view text);
// text without its access-key markers, "&&" turned into "&".
std::u16string WithoutAccelerators(std::u16string_view text);

// Why a line of a text dictionary was refused.
enum class EntryStatus { Ok, BadDollarPrefix, MissingEquals, EmptyKey };
const char* EntryStatusText(EntryStatus status);

// Parses one line (without its line end) into entry: the text between the
// first unescaped double quote and the next one (or the line end), else the
// whole line; then "$$$", the key up to the first "=", the value after it.
// Key units are narrowed to their low byte.
EntryStatus ParseEntry(std::u16string_view line, DictionaryEntry& entry);

} // namespace quire_private
