#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "PtUTF.h"

namespace {

std::vector<unsigned short> toUtf16(const std::string& in)
{
    const unsigned count = UTF8ToUTF16HostEndian(in.data(), unsigned(in.size()), nullptr);
    std::vector<unsigned short> out(count / 2, 0xEEEE);
    EXPECT_EQ(UTF8ToUTF16HostEndian(in.data(), unsigned(in.size()), out.data()), count)
        << "counting pass and writing pass disagree";
    return out;
}

std::string toUtf8(const std::vector<unsigned short>& in)
{
    const unsigned bytes = unsigned(in.size() * 2);
    const unsigned count = UTF16HostEndianToUTF8(in.data(), bytes, nullptr);
    std::string out(count, '\xEE');
    EXPECT_EQ(UTF16HostEndianToUTF8(in.data(), bytes, out.data()), count) << "counting pass and writing pass disagree";
    return out;
}

using Units = std::vector<unsigned short>;

} // namespace

TEST(PtUTF, Utf8ToUtf16Catalogue)
{
    struct Row { std::string in; Units out; };
    const Row rows[] = {
        {"", {0}},
        {"A", {'A', 0}},
        {"\xC3\xA9", {0xE9, 0}},                                // last 2-byte form
        {"\xE2\x82\xAC", {0x20AC, 0}},                           // 3 bytes
        {"\xF0\x9F\x98\x80", {0xD83D, 0xDE00, 0}},               // surrogate pair
        {"\xF4\x8F\xBF\xBF", {0xDBFF, 0xDFFF, 0}},               // U+10FFFF
        {"\xF4\x90\x80\x80", {0}},                               // above U+10FFFF
        {"\xC0\x80" "a", {'a', 0}},                              // overlong NUL is dropped and does not end
        {"\xE0\x80\x80" "a", {'a', 0}},                          // overlong 3 bytes
        {"\xED\xA0\x80" "a", {'a', 0}},                          // encoded surrogate
        {"\x80" "a", {'a', 0}},                                  // stray continuation
        {"\xF8" "a", {'a', 0}},                                  // 11111xxx lead
        {"\xC3" "a", {'a', 0}},                                  // bad second byte drops the lead only
        {"\xE2\x82" "a", {'a', 0}},                              // bad third byte drops two
        {"\xF0\x9F\x98" "a", {'a', 0}},                          // bad fourth byte drops three
        {"\xE2", {0}},                                           // truncated at the end
        {std::string("a\0b", 3), {'a', 0}},                      // a 0 byte ends the output
    };
    for (const Row& row : rows)
        EXPECT_EQ(toUtf16(row.in), row.out) << testing::PrintToString(row.in);
}

TEST(PtUTF, Utf16ToUtf8Catalogue)
{
    struct Row { Units in; std::string out; };
    const Row rows[] = {
        {{}, std::string("\0", 1)},
        {{'A'}, std::string("A\0", 2)},
        {{0x7FF}, std::string("\xDF\xBF\0", 3)},
        {{0xFFFF}, std::string("\xEF\xBF\xBF\0", 4)},
        {{0xD83D, 0xDE00}, std::string("\xF0\x9F\x98\x80\0", 5)},
        {{'a', 0xD83D}, std::string("a\0", 2)},                  // unpaired high surrogate at the end
        {{0xD83D, 'b'}, std::string("b\0", 2)},                  // high surrogate without low: dropped, b kept
        {{0xDE00, 'c'}, std::string("c\0", 2)},                  // lone low surrogate
        {{'x', 0, 'y'}, std::string("x\0", 2)},                  // 0 unit stops
    };
    for (const Row& row : rows)
        EXPECT_EQ(toUtf8(row.in), row.out);
}

TEST(PtUTF, OddByteLengthIgnoresTheHalfUnit)
{
    const unsigned short in[] = {'a', 'b'};
    char out[8];
    EXPECT_EQ(UTF16HostEndianToUTF8(in, 3, out), 2u);
    EXPECT_STREQ(out, "a");
}

TEST(PtUTF, RoundTripOfEveryScalarValue)
{
    std::string utf8;
    for (unsigned cp = 1; cp <= 0x10FFFF; cp += (cp < 0x800 ? 1 : 97)) {
        if (cp >= 0xD800 && cp <= 0xDFFF)
            continue;
        Units one = cp > 0xFFFF ? Units{static_cast<unsigned short>(0xD800 | ((cp - 0x10000) >> 10)),
                                        static_cast<unsigned short>(0xDC00 | (cp & 0x3FF))}
                                : Units{static_cast<unsigned short>(cp)};
        std::string bytes = toUtf8(one);
        bytes.pop_back();
        one.push_back(0);
        ASSERT_EQ(toUtf16(bytes), one) << std::hex << cp;
    }
}

TEST(PtUTF, WholeStringConveniences)
{
    const std::u16string text = u"Grüße 😀";
    EXPECT_EQ(ptucsToUtf8(reinterpret_cast<const unsigned short*>(text.c_str())), "Grüße 😀");
    EXPECT_EQ(ptucsFromUtf8("Grüße 😀"), text);
    EXPECT_EQ(ptucsToUtf8(nullptr), "");
}

TEST(PtUTF, BoundariesOfEachSequenceLength)
{
    // First and last code point of each length, the edges of the surrogate
    // range, in both directions; the round trip over all scalar values steps
    // over most of these.
    struct Row { unsigned codepoint; Units utf16; std::string utf8; };
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
        Units terminated = row.utf16;
        terminated.push_back(0);
        EXPECT_EQ(toUtf16(row.utf8), terminated) << std::hex << row.codepoint;
        EXPECT_EQ(toUtf8(row.utf16), row.utf8 + '\0') << std::hex << row.codepoint;
    }

    // The longest overlong form of each length, and encoded surrogates, are dropped.
    for (const char* dropped : {"\xC1\xBF", "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF", "\xED\xA0\x80", "\xED\xBF\xBF"})
        EXPECT_EQ(toUtf16(std::string(dropped) + "z"), (Units{'z', 0})) << testing::PrintToString(std::string(dropped));
}
