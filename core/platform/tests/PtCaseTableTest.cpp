#include <gtest/gtest.h>

#include <clocale>
#include <cwctype>
#include <set>
#include <string>

#include "PtCaseTable_p.h"
#include "ptucs.h"

namespace {

// The blocks the table covers, and which of their capitals it leaves out on
// purpose: title-case letters, and letters assigned after Unicode 2.0.
const unsigned kBlocks[][2] = {
    {0x0041, 0x005A}, {0x0080, 0x00FF}, {0x0100, 0x017F}, {0x0180, 0x024F}, {0x0370, 0x03FF},
    {0x0400, 0x04FF}, {0x0530, 0x058F}, {0x10A0, 0x10FF}, {0x1E00, 0x1EFF}, {0x1F00, 0x1FFF},
    {0x2460, 0x24FF}, {0xFF00, 0xFFEF},
};
const std::set<unsigned> kTitleCase = {
    0x01C5, 0x01C8, 0x01CB, 0x01F2, 0x1F88, 0x1F89, 0x1F8A, 0x1F8B, 0x1F8C, 0x1F8D, 0x1F8E, 0x1F8F,
    0x1F98, 0x1F99, 0x1F9A, 0x1F9B, 0x1F9C, 0x1F9D, 0x1F9E, 0x1F9F, 0x1FA8, 0x1FA9, 0x1FAA, 0x1FAB,
    0x1FAC, 0x1FAD, 0x1FAE, 0x1FAF, 0x1FBC, 0x1FCC, 0x1FFC,
};
const std::set<unsigned> kAssignedLater = {
    0x01F6, 0x01F7, 0x01F8, 0x0218, 0x021A, 0x021C, 0x021E, 0x0220, 0x0222, 0x0224, 0x0226, 0x0228,
    0x022A, 0x022C, 0x022E, 0x0230, 0x0232, 0x023A, 0x023B, 0x023D, 0x023E, 0x0241, 0x0243, 0x0244,
    0x0245, 0x0246, 0x0248, 0x024A, 0x024C, 0x024E, 0x0370, 0x0372, 0x0376, 0x037F, 0x03CF, 0x03D8,
    0x03F4, 0x03F7, 0x03F9, 0x03FA, 0x03FD, 0x03FE, 0x03FF, 0x0400, 0x040D, 0x048A, 0x048C, 0x048E,
    0x04C5, 0x04C9, 0x04CD, 0x04EC, 0x04F6, 0x04FA, 0x04FC, 0x04FE, 0x10C7, 0x10CD, 0x1E9E, 0x1EFA,
    0x1EFC, 0x1EFE,
};

class CLocale {
public:
    CLocale() : m_old(std::setlocale(LC_CTYPE, nullptr)) { m_ok = std::setlocale(LC_CTYPE, "C.UTF-8") != nullptr; }
    ~CLocale() { std::setlocale(LC_CTYPE, m_old.c_str()); }
    bool ok() const { return m_ok; }

private:
    std::string m_old;
    bool m_ok = false;
};

} // namespace

TEST(PtCaseTable, EveryCapitalOfTheBlocksAgreesWithTheCLibrary)
{
    // The C library's Unicode tables are an independent source for every
    // unit of the covered blocks: a pair missing, extra, wrong or out of
    // order shows here, and the units after the last pair walk to the end.
    CLocale locale;
    ASSERT_TRUE(locale.ok()) << "C.UTF-8 is built into the C library";
    int mapped = 0;
    for (const auto& block : kBlocks) {
        for (unsigned u = block[0]; u <= block[1]; ++u) {
            const unsigned lower = unsigned(std::towlower(wint_t(u)));
            const bool expected = std::iswupper(wint_t(u)) && lower != u && !kTitleCase.count(u)
                && !kAssignedLater.count(u);
            unsigned short out = 0;
            ASSERT_EQ(ptucslowerCase(static_cast<unsigned short>(u), &out), expected) << std::hex << u;
            EXPECT_EQ(out, expected ? lower : u) << std::hex << u;
            mapped += expected;
        }
    }
    EXPECT_EQ(mapped, gUcsUpperToLowerCaseCount) << "every pair lies in the covered blocks";
}
