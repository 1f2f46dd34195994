#include "AcceleratorClash.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using quire::Dictionary;

TEST(AcceleratorClash, SameKeyWithinOneDialogOnly)
{
    Dictionary d;
    const auto add = [&d](const char* key, const std::u16string& text) { d.Add(key, text.data(), text.size()); };
    add("/Dng/LossLess", u"&Compress\u00e9 (sans perte)");
    add("/Dng/PreserveRaw", u"&conserver l\u2019image");    // same letter, other case
    add("/Dng/Linear", u"C&onvertir");
    add("/Dng/Ampersands", u"R && D e&xtra");             // "&&" is no access key
    add("/Dng/Sub/Other", u"&Clé");                         // another dialog
    add("/Box/Yes", u"&Oui");
    add("/Box/No", u"&Non");
    add("/Box/Never", u"&Ne plus demander");
    add("/Box/Plain", u"no key at all &");
    add("/Jp/A", u"\u5727\u7e2e(&C)");
    add("/Jp/B", u"^Caf^e &^e");                           // hats converted first: é
    add("/Jp/C", u"&\u00c9t\u00e9");                       // É folds to é

    const auto clashes = quire::FindAcceleratorClashes(d);
    struct Expected {
        const char* first;
        const char* second;
        char16_t key;
    };
    const Expected expected[] = {
        {"/Box/Never", "/Box/No", u'N'},
        {"/Dng/LossLess", "/Dng/PreserveRaw", u'C'},
        {"/Jp/B", "/Jp/C", u'\u00e9'},
    };
    ASSERT_EQ(clashes.size(), std::size(expected));
    for (std::size_t i = 0; i < clashes.size(); ++i) {
        EXPECT_EQ(clashes[i].first, expected[i].first);
        EXPECT_EQ(clashes[i].second, expected[i].second);
        EXPECT_EQ(clashes[i].key, expected[i].key);
    }
}
