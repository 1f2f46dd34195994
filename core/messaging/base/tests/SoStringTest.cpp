#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "SoString.h"

using ScObjects::SoString;

TEST(SoString, CapacityIsNextMultipleOf128AboveLength)
{
    struct Row { long length; long capacity; };
    const Row rows[] = {{0, 128}, {1, 128}, {127, 128}, {128, 256}, {255, 256}, {256, 384}, {1000, 1024}};
    for (const Row& row : rows) {
        const std::string text(std::size_t(row.length), 'x');
        SoString s(text.c_str(), row.length);
        EXPECT_EQ(s.capacity(), row.capacity) << row.length;
        EXPECT_EQ(s.length(), row.length);
    }
}

TEST(SoString, AppendGrowsWhenLengthReachesCapacity)
{
    SoString s(std::string(127, 'a').c_str());
    EXPECT_EQ(s.capacity(), 128);
    s.append("b", 1);
    EXPECT_EQ(s.capacity(), 256);
    EXPECT_EQ(s.length(), 128);
    EXPECT_EQ(std::string(s.c_str()), std::string(127, 'a') + "b");
}

TEST(SoString, AssignReusesBufferAndNeverShrinks)
{
    SoString s(std::string(300, 'a').c_str());
    EXPECT_EQ(s.capacity(), 384);
    s.assign("short");
    EXPECT_EQ(s.capacity(), 384);
    EXPECT_STREQ(s.c_str(), "short");
    s.assign(std::string(400, 'b').c_str());
    EXPECT_EQ(s.capacity(), 512);
    EXPECT_EQ(s.length(), 400);
}

TEST(SoString, AppendOfItsOwnTextSurvivesGrowth)
{
    SoString s(std::string(100, 'q').c_str());
    s.append(s.c_str(), s.length());
    EXPECT_EQ(std::string(s.c_str()), std::string(200, 'q'));
}

TEST(SoString, SwapExchangesBuffersWithoutCopying)
{
    SoString big(std::string(300, 'b').c_str());
    SoString small("s");
    const char* bigData = big.c_str();
    const char* smallData = small.c_str();
    big.swap(small);
    EXPECT_EQ(big.c_str(), smallData);
    EXPECT_EQ(small.c_str(), bigData);
    EXPECT_STREQ(big.c_str(), "s");
    EXPECT_EQ(big.length(), 1);
    EXPECT_EQ(big.capacity(), 128);
    EXPECT_EQ(small.length(), 300);
    EXPECT_EQ(small.capacity(), 384);
}

TEST(SoString, NullAndNegativeLengths)
{
    SoString fromNull(nullptr, -1);
    EXPECT_STREQ(fromNull.c_str(), "");
    EXPECT_EQ(fromNull.length(), 0);
    EXPECT_EQ(fromNull.capacity(), 128);
    EXPECT_EQ(SoString("abc", 2), "ab");
    EXPECT_EQ(fromNull.compare(nullptr), 0);
    EXPECT_LT(SoString("a").compare("b"), 0);
}

TEST(SoString, ShrinkOnlyWithinLength)
{
    SoString s("hello");
    s.shrink(-1);
    s.shrink(5);
    s.shrink(9);
    EXPECT_EQ(s, "hello");
    s.shrink(2);
    EXPECT_EQ(s, "he");
}

TEST(SoString, NumberAppenders)
{
    struct Row { SoString text; const char* expected; };
    auto make = [](auto value) { SoString s; s << value; return s; };
    SoString viaAppend;
    viaAppend.append(-1L);
    const Row rows[] = {
        {make(-1L), "18446744073709551615"},
        {viaAppend, "18446744073709551615"},
        {make(42UL), "42"},
        {make(2.5), "2"},
        {make(3.5), "4"},
        {make(-0.4), "-0"},
        {make('c'), "c"},
        {make("txt"), "txt"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(row.text, row.expected);
}

TEST(SoString, CaseMappingTouchesOnlySingleByteLetters)
{
    SoString s("Tessel-4.0-EN_US \xC3\x89");
    EXPECT_EQ(s.lowercase(), "tessel-4.0-en_us \xC3\x89");
    EXPECT_EQ(s.uppercase(), "TESSEL-4.0-EN_US \xC3\x89");
}

TEST(SoString, EncodeUTF8Forms)
{
    struct Row { unsigned long codepoint; std::vector<unsigned char> bytes; };
    const Row rows[] = {
        {0x00, {0x00}},
        {0x7F, {0x7F}},
        {0x80, {0xC2, 0x80}},
        {0x7FF, {0xDF, 0xBF}},
        {0x800, {0xE0, 0xA0, 0x80}},
        {0xFFFF, {0xEF, 0xBF, 0xBF}},
        {0x10000, {0xF0, 0x90, 0x80, 0x80}},
        {0x1FFFFF, {0xF7, 0xBF, 0xBF, 0xBF}},
        {0x200000, {0xF8, 0x88, 0x80, 0x80, 0x80}},
        {0x3FFFFFF, {0xFB, 0xBF, 0xBF, 0xBF, 0xBF}},
        {0x4000000, {0xFC, 0x84, 0x80, 0x80, 0x80, 0x80}},
        {0x7FFFFFFE, {0xFD, 0xBF, 0xBF, 0xBF, 0xBF, 0xBE}},
        {0x7FFFFFFF, {0xEF, 0xBF, 0xBD}},
        {0xFFFFFFFF, {0xEF, 0xBF, 0xBD}},
    };
    for (const Row& row : rows) {
        unsigned char out[8] = {};
        const int n = ScObjects::EncodeUTF8(row.codepoint, out);
        EXPECT_EQ(std::vector<unsigned char>(out, out + n), row.bytes) << std::hex << row.codepoint;
    }
}

TEST(SoString, FromUtf16)
{
    struct Row { std::vector<unsigned short> units; long length; std::string utf8; };
    const Row rows[] = {
        {{'a', 'b', 0}, -1, "ab"},
        {{'a', 'b', 'c'}, 2, "ab"},
        {{0xE9, 0}, -1, "\xC3\xA9"},
        {{0xD83D, 0xDE00, 0}, -1, "\xF0\x9F\x98\x80"},
        {{0xD83D, 'x', 0}, -1, "\xED\xA0\xBD" "x"},   // lone high surrogate as it stands
        {{0xDE00, 0}, -1, "\xED\xB8\x80"},            // lone low surrogate
        {{0xD83D}, 1, "\xED\xA0\xBD"},                // pair cut by the length
    };
    for (const Row& row : rows)
        EXPECT_EQ(std::string(SoString(row.units.data(), row.length).c_str()), row.utf8);
    EXPECT_EQ(SoString(static_cast<const unsigned short*>(nullptr), -1).capacity(), 128);
}

TEST(SoString, FromUtf16ScansAtMost65536Units)
{
    std::vector<unsigned short> units(70000, 'z');
    SoString s(units.data(), -1);
    EXPECT_EQ(s.length(), 65536);
}

TEST(SoString, ConvertToUtf16)
{
    struct Row { std::string utf8; unsigned long max; std::vector<unsigned short> units; };
    const Row rows[] = {
        {"ab", 10, {'a', 'b', 0}},
        {"\x80" "a", 10, {0xFFFD, 'a', 0}},                     // stray byte, decoding goes on
        {"\xC3\xA9", 10, {0xE9, 0}},
        {"\xF0\x9F\x98\x80", 10, {0xD83D, 0xDE00, 0}},
        {"\xF4\x90\x80\x80", 10, {0xFFFD, 0}},                   // above U+10FFFF
        {"\xC3\x29", 10, {0xE9, 0}},                              // continuation taken unchecked
        {"\xF0\x9F\x98\x80" "ab", 2, {0xD83D, 0xDE00, 'a'}},     // the pair counts once, no terminator
        {"abc", 0, {}},
        {"a\xE2", 10, {'a', 0xFFFD, 0}},                         // cut off by the end of the text
    };
    for (const Row& row : rows) {
        std::vector<unsigned short> out(32, 0xEEEE);
        const unsigned long n = SoString(row.utf8.c_str()).convertToUtf16(out.data(), row.max);
        std::vector<unsigned short> written(out.begin(), out.begin() + long(row.units.size()));
        EXPECT_EQ(written, row.units) << testing::PrintToString(row.utf8);
        EXPECT_EQ(out[row.units.size()], 0xEEEE) << "wrote past the end: " << testing::PrintToString(row.utf8);
        EXPECT_LE(n, row.units.size());
    }
}

TEST(SoString, ConvertToUtf16TerminatesAfterATruncatedSequence)
{
    // The terminator must never be taken for a continuation byte.
    struct Row { std::string utf8; unsigned long max; std::vector<unsigned short> units; };
    const Row rows[] = {
        {"a\xC3", 10, {'a', 0xFFFD, 0}},
        {"a\xE2\x82", 10, {'a', 0xFFFD, 0}},
        {"\xF0\x9F\x98", 10, {0xFFFD, 0}},
        {"\xFC\x84\x80\x80\x80", 10, {0xFFFD, 0}},
        {"a\xC3", 2, {'a', 0xFFFD}},            // max reached: no terminator, as for any text
    };
    for (const Row& row : rows) {
        std::vector<unsigned short> out(32, 0xEEEE);
        const unsigned long n = SoString(row.utf8.c_str()).convertToUtf16(out.data(), row.max);
        EXPECT_EQ(std::vector<unsigned short>(out.begin(), out.begin() + long(row.units.size())), row.units)
            << testing::PrintToString(row.utf8);
        EXPECT_EQ(out[row.units.size()], 0xEEEE) << testing::PrintToString(row.utf8);
        const std::size_t terminated = row.units.back() == 0 ? 1 : 0;
        EXPECT_EQ(n, row.units.size() - terminated) << testing::PrintToString(row.utf8);
    }
}

TEST(SoString, Utf16BoundariesOfEachSequenceLength)
{
    // First and last code point of each UTF-8 length, and the edges of the
    // surrogate range, through both directions of the conversion.
    struct Row { unsigned long codepoint; std::vector<unsigned short> units; std::string utf8; };
    const Row rows[] = {
        {0x01, {0x01}, "\x01"},
        {0x7F, {0x7F}, "\x7F"},
        {0x80, {0x80}, "\xC2\x80"},
        {0x7FF, {0x7FF}, "\xDF\xBF"},
        {0x800, {0x800}, "\xE0\xA0\x80"},
        {0xD7FF, {0xD7FF}, "\xED\x9F\xBF"},
        {0xE000, {0xE000}, "\xEE\x80\x80"},
        {0xFFFF, {0xFFFF}, "\xEF\xBF\xBF"},
        {0x10000, {0xD800, 0xDC00}, "\xF0\x90\x80\x80"},
        {0x10FFFF, {0xDBFF, 0xDFFF}, "\xF4\x8F\xBF\xBF"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(std::string(SoString(row.units.data(), long(row.units.size())).c_str()), row.utf8)
            << std::hex << row.codepoint;
        std::vector<unsigned short> out(8, 0xEEEE);
        EXPECT_EQ(SoString(row.utf8.c_str()).convertToUtf16(out.data(), 4), row.units.size())
            << std::hex << row.codepoint;
        std::vector<unsigned short> expected = row.units;
        expected.push_back(0);
        EXPECT_EQ(std::vector<unsigned short>(out.begin(), out.begin() + long(expected.size())), expected)
            << std::hex << row.codepoint;
    }
    // Beyond U+10FFFF the decoder has only the replacement character.
    for (const char* utf8 : {"\xF4\x90\x80\x80", "\xF7\xBF\xBF\xBF", "\xF8\x88\x80\x80\x80", "\xFD\xBF\xBF\xBF\xBF\xBE"}) {
        std::vector<unsigned short> out(8, 0xEEEE);
        EXPECT_EQ(SoString(utf8).convertToUtf16(out.data(), 4), 1u) << testing::PrintToString(std::string(utf8));
        EXPECT_EQ(out[0], 0xFFFD);
        EXPECT_EQ(out[1], 0);
    }
}
