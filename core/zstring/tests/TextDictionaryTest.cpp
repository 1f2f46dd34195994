#include "TextDictionary.h"

#include "PtUTF.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

using quire::Dictionary;
using quire::TextEncoding;

namespace {

using Entries = std::vector<std::pair<std::string, std::u16string>>;

std::string encode(const std::u16string& text, TextEncoding encoding)
{
    if (encoding == TextEncoding::UTF8)
        return ptucsToUtf8(reinterpret_cast<const unsigned short*>(text.c_str()));
    std::string out;
    const bool big = encoding == TextEncoding::UTF16BE;
    for (const char16_t u : u"\uFEFF" + text) {
        out.push_back(static_cast<char>(big ? u >> 8 : u & 0xff));
        out.push_back(static_cast<char>(big ? u & 0xff : u >> 8));
    }
    return out;
}

// Through ids, since a key may hold a NUL byte that no literal can name.
Entries entriesOf(const Dictionary& d)
{
    Entries entries;
    for (quire::ZStringId id = 0; entries.size() < d.NumKeys() && id < 2 * d.NumKeys() + 16; ++id) {
        if (d.ValidId(id))
            entries.emplace_back(d.GetStringId(id), d.Lookup(id).Text());
    }
    EXPECT_EQ(entries.size(), d.NumKeys());
    std::sort(entries.begin(), entries.end());
    return entries;
}

Dictionary readBytes(const std::string& bytes)
{
    Dictionary d;
    std::istringstream in(bytes);
    d.Read(in);
    return d;
}

} // namespace

// Lines as a translator may write them; each must survive text -> binary ->
// text in every encoding of the family it was read from.
TEST(TextDictionary, EveryReadableDictionaryWritesBackToTheSameEntries)
{
    const std::u16string shared[] = {
        u"\"$$$/Path/Temp=C:\\Temp\\\"",      // the closing quote is escaped: value C:\Temp\"
        u"$$$/Path/Unquoted=C:\\Temp\\",      // value ends in a backslash
        u"$$$/Path/Lone=\\",
        u"\"$$$/Q/Escaped=say \\\"hi\\\" now\"",
        u"\"$$$/Q/EscapedEnd=a\\\"\"",
        u"\"$$$/Q/Key\\\"Quote=v\"",          // a quote inside the key
        u"\"$$$/Space/Around=  both ends  \"",
        u"$$$/Empty=",
        u"$$$/Equals/Many=a=b==c",
        u"\"$$$/Hats=^n^e^Q^x^\"",
        u"\"$$$$Dollar/Key=$$$\"",
        u"/No/Dollars=plain",
        u"\"$$$/Wide/Text=日本語 é 😀\"",
        u"\"$$$/Wide/Key日本=narrowed key\"",
        u"\"$$$/Narrow/LineEnd\u010A\u010D=key bytes that are line ends\"",
        u"\"$$$/Narrow/Equals\u013D=key byte that is an equals sign\"",
        u"\"$$$/Narrow/Nul\u0100=key byte that is NUL\"",
    };
    // UTF-16 text also carries what UTF-8 cannot.
    const std::u16string utf16Only[] = {
        std::u16string(u"\"$$$/Utf16/Nul=a") + u'\0' + u"b\"",
        u"\"$$$/Utf16/LoneSurrogate=\xD800x\"",
    };
    struct Family {
        TextEncoding source;
        std::vector<TextEncoding> outputs;
    };
    const Family families[] = {
        {TextEncoding::UTF8, {TextEncoding::UTF8, TextEncoding::UTF16LE, TextEncoding::UTF16BE}},
        {TextEncoding::UTF16LE, {TextEncoding::UTF16LE, TextEncoding::UTF16BE}},
        {TextEncoding::UTF16BE, {TextEncoding::UTF16LE, TextEncoding::UTF16BE}},
    };
    for (const Family& family : families) {
        std::u16string text;
        for (const auto& line : shared)
            text += line + u"\r\n";
        if (family.source != TextEncoding::UTF8) {
            for (const auto& line : utf16Only)
                text += line + u"\n";
        }
        Dictionary source = readBytes(encode(text, family.source));
        const Entries expected = entriesOf(source);
        ASSERT_EQ(expected.size(), std::size(shared) + (family.source == TextEncoding::UTF8 ? 0 : 2));

        std::ostringstream binary;
        ASSERT_GT(source.Serialize(binary, quire::kBigEndian), 0u);
        Dictionary compiled = readBytes(binary.str());
        ASSERT_EQ(entriesOf(compiled), expected);
        for (const TextEncoding output : family.outputs) {
            SCOPED_TRACE(static_cast<int>(family.source) * 10 + static_cast<int>(output));
            std::ostringstream out;
            std::string error;
            ASSERT_TRUE(quire::WriteTextDictionary(compiled, out, output, error)) << error;
            EXPECT_TRUE(quire::CheckTextDictionary(out.str().data(), out.str().size()).empty());
            Dictionary back = readBytes(out.str());
            EXPECT_EQ(entriesOf(back), expected);
        }
    }
}

TEST(TextDictionary, UnwritableEntryIsRefusedNamingItsKey)
{
    struct Row {
        std::u16string value;
        TextEncoding encoding;
        const char* reason;
    };
    const Row rows[] = {
        {u"two\nlines", TextEncoding::UTF16LE, "line break"},
        {u"carriage\rreturn", TextEncoding::UTF8, "line break"},
        {u"say \"hi\"", TextEncoding::UTF16LE, "double quote"},
        {u"\"leading", TextEncoding::UTF16BE, "double quote"},
        {std::u16string(u"a\0b", 3), TextEncoding::UTF8, "NUL"},
        {u"x\xDC00", TextEncoding::UTF8, "lone surrogate"},
        {u"\xD800", TextEncoding::UTF8, "lone surrogate"},
    };
    for (const Row& row : rows) {
        Dictionary d;
        d.Add("/Good", u"fine", 4);
        d.Add("/Bad/Key", row.value.data(), row.value.size());
        std::ostringstream out;
        std::string error;
        EXPECT_FALSE(quire::WriteTextDictionary(d, out, row.encoding, error)) << row.reason;
        EXPECT_NE(error.find("/Bad/Key"), std::string::npos) << error;
        EXPECT_NE(error.find(row.reason), std::string::npos) << error;
    }
}

TEST(TextDictionary, CheckReportsInvalidUtf8ByLineAndByte)
{
    struct Row {
        std::string line;
        std::size_t column; // 0: nothing to report
        std::u16string value;
    };
    const Row rows[] = {
        {"$$$/K=caf\xc3\xa9 \xf0\x9f\x98\x80", 0, u"caf\u00e9 \U0001F600"},
        {"$$$/K=ab\xff" "cd", 9, u"abcd"},
        {"$$$/K=\x80", 7, u""},
        {"$$$/K=x\xc3", 8, u"x"},
        {"$$$/K=\xc0\x80z", 7, u"z"},              // overlong NUL
        {"$$$/K=\xed\xa0\x80z", 7, u"z"},          // encoded surrogate
        {"$$$/K=\xf4\x90\x80\x80z", 7, u"z"},      // above U+10FFFF
        {"$$$/K=\xe6\x97x", 7, u"x"},              // cut short
        {std::string("$$$/K=a\0b", 9), 8, u"a"}, // NUL ends the line
    };
    for (const Row& row : rows) {
        const std::string file = "$$$/Before=ok\n" + row.line + "\n";
        const auto problems = quire::CheckTextDictionary(file.data(), file.size());
        if (row.column == 0) {
            EXPECT_TRUE(problems.empty()) << row.line;
        } else {
            ASSERT_EQ(problems.size(), 1u) << row.line;
            EXPECT_EQ(problems[0].line, 2u);
            EXPECT_NE(problems[0].reason.find("at byte " + std::to_string(row.column)), std::string::npos)
                << problems[0].reason;
        }
        // Reading still takes what decodes and drops the rest.
        const Dictionary d = readBytes(file);
        std::u16string value;
        EXPECT_TRUE(d.RawValue("/K", value)) << row.line;
        EXPECT_EQ(value, row.value) << row.line;
    }
}
