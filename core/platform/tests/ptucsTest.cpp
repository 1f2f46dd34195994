#include <gtest/gtest.h>

#include "ptucs.h"

namespace {

const unsigned short* u(const char16_t* s) { return reinterpret_cast<const unsigned short*>(s); }

} // namespace

TEST(ptucs, NcpyNeverPadsOrTerminatesAtTheLimit)
{
    unsigned short dst[8];
    std::fill(std::begin(dst), std::end(dst), 0xAAAA);
    ptucsncpy(dst, u(u"abc"), 3);
    EXPECT_EQ(dst[2], u'c');
    EXPECT_EQ(dst[3], 0xAAAA) << "n equal to the source length leaves no terminator";

    std::fill(std::begin(dst), std::end(dst), 0xAAAA);
    ptucsncpy(dst, u(u"abc"), 0);
    EXPECT_EQ(dst[0], 0xAAAA);

    std::fill(std::begin(dst), std::end(dst), 0xAAAA);
    ptucsncpy(dst, u(u"ab"), 6);
    EXPECT_EQ(dst[2], 0);
    EXPECT_EQ(dst[3], 0xAAAA) << "stops after the copied terminator";
}

TEST(ptucs, LengthCopyAndConcatenate)
{
    EXPECT_EQ(ptucslen(nullptr), 0u);
    EXPECT_EQ(ptucslen(u(u"")), 0u);
    unsigned short buf[16];
    ptucscpy(buf, u(u"Tes"));
    ptucscat(buf, u(u"sel"));
    EXPECT_EQ(ptucscmp(buf, u(u"Tessel")), 0);
    EXPECT_EQ(ptucslen(buf), 6u);
}

TEST(ptucs, ComparisonsAreByUnitValueWithNullRules)
{
    EXPECT_EQ(ptucscmp(nullptr, nullptr), 0);
    EXPECT_EQ(ptucscmp(nullptr, u(u"x")), -1);
    EXPECT_EQ(ptucscmp(u(u"x"), nullptr), 1);
    EXPECT_EQ(ptucscmp(u(u"ab"), u(u"abc")), -'c');
    EXPECT_EQ(ptucscmp(u(u"\xFFFF"), u(u"a")), 0xFFFF - 'a') << "units compare unsigned";
    EXPECT_EQ(ptucsicmp(u(u"ABC"), u(u"abc")), -32) << "the case-insensitive name does not fold case";
    EXPECT_EQ(ptucsicmp(nullptr, u(u"x")), -1);
    EXPECT_EQ(ptucsncmp(u(u"abX"), u(u"abY"), 2), 0);
    EXPECT_EQ(ptucsncmp(u(u"abX"), u(u"abY"), 3), 'X' - 'Y');
    EXPECT_EQ(ptucsncmp(u(u"a"), u(u"b"), 0), 0);
    EXPECT_EQ(ptucsncmp(u(u"ab"), u(u"ab"), 10), 0);
}

TEST(ptucs, SearchFunctions)
{
    const unsigned short* s = u(u"a/b/c");
    EXPECT_EQ(ptucschr(s, '/'), s + 1);
    EXPECT_EQ(ptucschr(s, 'z'), s + 5) << "absent unit yields the terminator";
    EXPECT_EQ(*ptucschr(s, 'z'), 0);
    EXPECT_EQ(ptucschr(s, 0), s + 5);
    EXPECT_EQ(ptucsrchr(s, '/'), s + 3);
    EXPECT_EQ(ptucsrchr(s, 'z'), nullptr);
    EXPECT_EQ(ptucsrchr(s, 0), nullptr);
    EXPECT_EQ(ptucsstr(s, u(u"")), s);
    EXPECT_EQ(ptucsstr(s, u(u"b/c")), s + 2);
    EXPECT_EQ(ptucsstr(s, u(u"c/")), nullptr);
    EXPECT_EQ(ptucsstr(u(u"aab"), u(u"ab")), u(u"aab") + 1);
}

TEST(ptucs, LowerCaseTable)
{
    struct Row { unsigned short in, out; bool mapped; };
    const Row rows[] = {
        {'A', 'a', true}, {'Z', 'z', true}, {'a', 'a', false}, {'@', '@', false},
        {0x00C0, 0x00E0, true}, {0x00D7, 0x00D7, false}, // multiplication sign sits among the capitals
        {0x0391, 0x03B1, true}, {0x0410, 0x0430, true}, {0x0531, 0x0561, true},
        {0x1E00, 0x1E01, true}, {0x24B6, 0x24D0, true},
        {0xFF21, 0xFF41, true}, {0xFF3A, 0xFF5A, true}, {0xFF3B, 0xFF3B, false}, {0xFFFF, 0xFFFF, false},
        {0, 0, false},
    };
    for (const Row& row : rows) {
        unsigned short out = 1;
        EXPECT_EQ(ptucslowerCase(row.in, &out), row.mapped) << std::hex << row.in;
        EXPECT_EQ(out, row.out) << std::hex << row.in;
    }
}
