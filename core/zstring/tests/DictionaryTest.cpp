#include "Dictionary.h"
#include "ZSLibraryVersion.h"
#include "private/ByteOrder_p.h"
#include "private/ByteRunKey_p.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

using quire::Dictionary;
using quire_private::ByteRunKey;

namespace {

std::u16string lookup(const Dictionary& d, const char* literal,
                      quire::Encoding encoding = quire::Encoding::None)
{
    return d.Lookup(literal, encoding).Text();
}

Dictionary fromText(const std::string& bytes)
{
    Dictionary d;
    std::istringstream in(bytes);
    d.Read(in);
    return d;
}

std::string utf16(const std::u16string& text, bool bigEndian)
{
    std::string out;
    for (const char16_t u : text) {
        out.push_back(static_cast<char>(bigEndian ? u >> 8 : u & 0xff));
        out.push_back(static_cast<char>(bigEndian ? u & 0xff : u >> 8));
    }
    return out;
}

} // namespace

TEST(ByteRunKey, HashesEveryStepthByte)
{
    EXPECT_EQ(ByteRunKey::Hash("", 1021), 0u);
    // Below five bytes every byte counts: 'a', then ('b' + (97 << 5)) % 1021.
    EXPECT_EQ(ByteRunKey::Hash("ab", 1021), (98u + (97u << 5)) % 1021u);
    // Ten bytes: step 2, so only bytes 0, 2, 4, 6 and 8 take part.
    const std::string key = "0123456789";
    std::string oddChanged = key;
    for (std::size_t i = 1; i < oddChanged.size(); i += 2)
        oddChanged[i] = 'x';
    EXPECT_EQ(ByteRunKey::Hash(key, 1021), ByteRunKey::Hash(oddChanged, 1021));
    for (std::size_t i = 0; i < key.size(); i += 2) {
        std::string evenChanged = key;
        evenChanged[i] = 'x';
        EXPECT_NE(ByteRunKey::Hash(key, 1021), ByteRunKey::Hash(evenChanged, 1021)) << i;
    }
    // Bytes are unsigned: a high byte must not wrap to a huge value.
    EXPECT_EQ(ByteRunKey::Hash("\xff", 1021), 255u);
}

TEST(Dictionary, DefaultTextWithoutEntries)
{
    const Dictionary d;
    struct Row {
        const char* literal;
        std::u16string expected;
    };
    const Row rows[] = {
        {"$$$/PtZString/Yes=&Yes", u"&Yes"},
        {"$$$/A/B=x=y", u"x=y"},
        {"/A/B=bare key", u"bare key"},
        {"$$/A/B=two dollars", u""},
        {"$/A/B=one dollar", u""},
        {"$$$/A/B", u""},
        {"$$$/A/B=", u""},
        {"", u""},
        {"$$$/A=line^n", u"line\n"},
        {"$$$/A=^x stays", u"^x stays"},
        {"$$$/A=caf^e ^Qq^Q ^[a^] ^{b^} ^C^R^T^D^B^#^!^I^S^r", u"caf\u00e9 \"q\" \u201ca\u201d \u2018b\u2019 "
                                                           u"\u00a9\u00ae\u2122\u00b0\u2022\u2318\u00ac\u2206\u2211\r"},
        {"$$$/A=^^n", u"^\n"},
        {"$$$/A=end^", u"end^"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(lookup(d, row.literal), row.expected) << row.literal;
    EXPECT_TRUE(d.Lookup(nullptr).IsEmpty());
}

TEST(Dictionary, EncodedDefaultKeepsCaretE)
{
    const Dictionary d;
    EXPECT_EQ(lookup(d, "$$$/A=d\xc3\xa9j\xc3\xa0 ^e^n", quire::Encoding::UTF8), u"d\u00e9j\u00e0 ^e\n");
    EXPECT_EQ(lookup(d, "$$$/A=\xc3\xa9"), u"\u00c3\u00a9");
}

TEST(Dictionary, TextLinesParsedAndRejected)
{
    const Dictionary d = fromText(
        "\"$$$/Quoted=Hallo\" trailing text\n"
        "prefix \"$$$/Escaped=say \\\"hi\\\" now\"\r\n"
        "$$/TwoDollars=rejected\r"
        "/Slash/Key=no dollars\n"
        "$$$/Unquoted=a=b\n"
        "\n"
        "$$$/NoEquals\n"
        "\"$$$/Open=runs to the end\n"
        "$$$/Hat=zwei^nZeilen\n"
        "$$$/Quoted=replaced\n");
    EXPECT_TRUE(d.IsValid());
    EXPECT_EQ(d.NumKeys(), 6u);
    EXPECT_EQ(lookup(d, "$$$/Quoted=x"), u"replaced");
    EXPECT_EQ(lookup(d, "$$$/Escaped=x"), u"say \\\"hi\\\" now");
    EXPECT_FALSE(d.HasKey("/TwoDollars"));
    EXPECT_EQ(lookup(d, "$$$/Slash/Key=x"), u"no dollars");
    EXPECT_EQ(lookup(d, "$$$/Unquoted=x"), u"a=b");
    EXPECT_EQ(lookup(d, "$$$/Open=x"), u"runs to the end");
    EXPECT_EQ(lookup(d, "$$$/Hat=x"), u"zwei\nZeilen");
    EXPECT_EQ(lookup(d, "$$$/Missing=fallback"), u"fallback");
    std::u16string raw;
    ASSERT_TRUE(d.RawValue("/Hat", raw));
    EXPECT_EQ(raw, u"zwei^nZeilen");
}

TEST(Dictionary, ThreeTextEncodingsReadAlike)
{
    const std::u16string text = u"\"$$$/A/Yes=&Ja\"\r\n\"$$$/A/Cafe=Caf\u00e9 \u65e5\u672c\"\n\uFEFF\n";
    const std::string utf8 = "\xEF\xBB\xBF\"$$$/A/Yes=&Ja\"\r\n\"$$$/A/Cafe=Caf\xc3\xa9 \xe6\x97\xa5\xe6\x9c\xac\"\n";
    const bool hostBig = quire_private::HostIsBigEndian();
    const std::string inputs[] = {
        utf16(u"\uFEFF" + text, hostBig),
        utf16(u"\uFEFF" + text, !hostBig),
        utf8,
    };
    for (const std::string& input : inputs) {
        const Dictionary d = fromText(input);
        EXPECT_TRUE(d.IsValid());
        EXPECT_EQ(d.NumKeys(), 2u);
        EXPECT_EQ(lookup(d, "$$$/A/Yes=&Yes"), u"&Ja");
        EXPECT_EQ(lookup(d, "$$$/A/Cafe=Cafe"), u"Caf\u00e9 \u65e5\u672c");
    }
}

TEST(Dictionary, MissingStreamIsInvalid)
{
    Dictionary d;
    std::ifstream missing("/nonexistent/SkiffStrings.dct", std::ios::binary);
    EXPECT_FALSE(d.Read(missing));
    EXPECT_FALSE(d.IsValid());
    EXPECT_EQ(lookup(d, "$$$/PtZString/OK=OK"), u"OK");
    EXPECT_FALSE(d.Read(nullptr, 10, true));
}

TEST(Dictionary, MainDictionaryIsTheFallback)
{
    auto main = std::make_unique<Dictionary>();
    const char16_t hauptwert[] = u"Hauptwert";
    main->Add("/Only/Main", hauptwert, 9);
    main->Add("/Both", u"main", 4);
    main->SetAsMain();
    Dictionary other;
    other.Add("$$$/Both=x", u"other", 5);
    EXPECT_EQ(lookup(other, "$$$/Only/Main=default"), u"Hauptwert");
    EXPECT_EQ(lookup(other, "$$$/Both=default"), u"other");
    EXPECT_EQ(lookup(*main, "$$$/Missing=default"), u"default");
    main.reset();
    EXPECT_EQ(lookup(other, "$$$/Only/Main=default"), u"default");
}

TEST(Dictionary, AddRemoveAndEnumerate)
{
    Dictionary d;
    EXPECT_FALSE(d.Add("$$/Bad", u"x", 1));
    EXPECT_FALSE(d.Add("$$$=empty key", u"x", 1));
    EXPECT_TRUE(d.Add("$$$/K1=ignored default", u"eins", 4));
    EXPECT_TRUE(d.Add("/K2", u"zwei", 4));
    EXPECT_TRUE(d.HasKey("$$$/K1"));
    EXPECT_TRUE(d.Remove("$$$/K1=x"));
    EXPECT_FALSE(d.Remove("/K1"));
    EXPECT_FALSE(d.HasKey("/K1"));

    std::vector<std::string> keys;
    for (d.ReSetKeyEnumeration(); d.HasMoreKey();)
        keys.push_back(d.NextKey());
    EXPECT_EQ(keys, std::vector<std::string>{"/K2"});
    EXPECT_EQ(d.NextKey(), "");
}

TEST(Dictionary, CopiesShareEntries)
{
    Dictionary a;
    Dictionary b = a;
    a.Add("/K", u"v", 1);
    EXPECT_TRUE(b.HasKey("/K"));
}

TEST(ZString, GetUnicodeCopiesWithTerminator)
{
    const quire::ZString z(u"Hallo");
    EXPECT_EQ(z.GetUnicodeSize(), 6u);
    char16_t buffer[8];
    EXPECT_EQ(z.GetUnicode(buffer, 8), 5u);
    EXPECT_EQ(std::u16string(buffer), u"Hallo");
    EXPECT_EQ(z.GetUnicode(buffer, 3), 2u);
    EXPECT_EQ(std::u16string(buffer), u"Ha");
    EXPECT_EQ(z.GetUnicode(buffer, 0), 0u);
    // Access-key markers stay unless asked otherwise.
    EXPECT_EQ(quire::ZString(u"&Ja").GetUnicode(buffer, 8), 3u);
    EXPECT_EQ(std::u16string(buffer), u"&Ja");
}

TEST(ZSLibraryVersion, IsFourOne)
{
    int major = 0;
    int minor = 0;
    quire::ZSLibraryVersion(major, minor);
    EXPECT_EQ(major, 4);
    EXPECT_EQ(minor, 1);
}

TEST(Dictionary, NumericIdsFollowTheirEntries)
{
    Dictionary d;
    d.Add("/A", u"eins", 4);
    d.Add("/B", u"zwei", 4);
    const quire::ZStringId a = d.GetNumericId("$$$/A=default");
    const quire::ZStringId b = d.GetNumericId("/B");
    ASSERT_NE(a, quire::kNoZStringId);
    ASSERT_NE(b, quire::kNoZStringId);
    EXPECT_NE(a, b);
    EXPECT_EQ(d.GetNumericId("/Missing"), quire::kNoZStringId);
    EXPECT_EQ(d.GetNumericId("$$/A"), quire::kNoZStringId);
    EXPECT_EQ(d.GetStringId(b), "/B");

    d.Add("/A", u"uno^n", 5); // a new value keeps the id
    EXPECT_EQ(d.GetNumericId("/A"), a);
    EXPECT_EQ(d.Lookup(a).Text(), u"uno\n");

    EXPECT_TRUE(d.Remove(a));
    EXPECT_FALSE(d.ValidId(a));
    EXPECT_FALSE(d.Remove(a));
    EXPECT_FALSE(d.HasKey("/A"));
    EXPECT_TRUE(d.Lookup(a).IsEmpty());
    EXPECT_EQ(d.GetStringId(a), "");
    d.Add("/A", u"wieder", 6); // ids are never reused
    EXPECT_NE(d.GetNumericId("/A"), a);
    EXPECT_FALSE(d.ValidId(quire::kNoZStringId));
    EXPECT_TRUE(d.ValidId(b));
}

TEST(Dictionary, IdsOfABinaryFileSurviveAChange)
{
    Dictionary source;
    for (int i = 0; i < 50; ++i) {
        const std::string key = "/K" + std::to_string(i);
        const std::u16string value = u"v" + std::u16string(key.begin(), key.end());
        source.Add(key.c_str(), value.data(), value.size());
    }
    std::ostringstream out;
    source.Serialize(out);
    Dictionary d;
    ASSERT_TRUE(d.Read(out.str().data(), out.str().size(), true));
    std::vector<quire::ZStringId> ids;
    for (int i = 0; i < 50; ++i) {
        const std::string key = "/K" + std::to_string(i);
        ids.push_back(d.GetNumericId(key.c_str()));
        ASSERT_TRUE(d.ValidId(ids.back())) << key;
        EXPECT_EQ(d.GetStringId(ids.back()), key);
    }
    EXPECT_FALSE(d.ValidId(50));
    d.Add("/New", u"neu", 3); // moves the entries into the table
    for (int i = 0; i < 50; ++i) {
        const std::string key = "/K" + std::to_string(i);
        EXPECT_EQ(d.GetNumericId(key.c_str()), ids[i]) << key;
        EXPECT_EQ(d.Lookup(ids[i]).Text(), u"v" + std::u16string(key.begin(), key.end()));
    }
    EXPECT_TRUE(d.Remove(ids[7]));
    EXPECT_FALSE(d.HasKey("/K7"));
    EXPECT_EQ(d.NumKeys(), 50u);
}

TEST(Dictionary, AcceleratorOfWhatTheUserSees)
{
    Dictionary d;
    d.Add("/Yes", u"&Ja", 3);
    d.Add("/Both", u"R&&D &Test", 10);
    d.Add("/None", u"Nichts &", 8);
    d.Add("/Hat", u"&^e", 3);
    struct Row {
        const char* literal;
        char16_t key;
    };
    const Row rows[] = {
        {"$$$/Yes=&Yes", u'J'},         // the stored value wins
        {"$$$/Missing=&Cancel", u'C'},  // else the default text
        {"$$$/Both=x", u'T'},
        {"$$$/None=&No", 0},
        {"$$$/Hat=x", u'\u00e9'},
        {"$$$/Missing=A&&B", 0},
        {"$$/Bad=&X", 0},
        {nullptr, 0},
    };
    for (const Row& row : rows)
        EXPECT_EQ(d.Accelerator(row.literal), row.key) << (row.literal ? row.literal : "null");
    EXPECT_EQ(d.Accelerator(d.GetNumericId("/Yes")), u'J');
    EXPECT_EQ(d.Accelerator(quire::kNoZStringId), 0);
}

TEST(Dictionary, Utf8KeyMatchesAnEightBitLine)
{
    const Dictionary fromLine = fromText("$$$/Caf\xc3\xa9/\xe6\x97\xa5=line\n");
    Dictionary added;
    EXPECT_TRUE(added.Add("$$$/Caf\xc3\xa9/\xe6\x97\xa5=default", u"added", 5, quire::Encoding::UTF8));
    EXPECT_TRUE(added.Add("/Caf\xc3\xa9", u"raw", 3));
    // é narrows to 0xE9 and 日 (U+65E5) to 0xE5, as the reader narrows them.
    const char narrowed[] = "/Caf\xe9/\xe5";
    EXPECT_TRUE(fromLine.HasKey(narrowed));
    EXPECT_TRUE(added.HasKey(narrowed));
    EXPECT_TRUE(added.HasKey("/Caf\xc3\xa9"));
    EXPECT_EQ(added.NumKeys(), 2u);
    EXPECT_FALSE(added.Add("$$$=x", u"v", 1, quire::Encoding::UTF8));
}

TEST(Dictionary, LookupReturnUTF16PtrStaysUntilTheNextChange)
{
    Dictionary d;
    d.Add("/K", u"Wert^n", 6);
    const char16_t* stored = d.LookupReturnUTF16Ptr("$$$/K=x");
    const char16_t* fallback = d.LookupReturnUTF16Ptr("$$$/Missing=caf\xc3\xa9 ^e", quire::Encoding::UTF8);
    const char16_t* bytewise = d.LookupReturnUTF16Ptr("$$$/Missing=caf\xc3\xa9 ^e");
    EXPECT_EQ(std::u16string(stored), u"Wert\n");
    EXPECT_EQ(std::u16string(fallback), u"caf\u00e9 ^e");
    EXPECT_EQ(std::u16string(bytewise), u"caf\u00c3\u00a9 \u00e9");
    EXPECT_EQ(std::u16string(d.LookupReturnUTF16Ptr("$$/Bad=x")), u"");
    EXPECT_EQ(std::u16string(d.LookupReturnUTF16Ptr(nullptr)), u"");
    // Many more lookups must not move what was handed out.
    for (int i = 0; i < 1000; ++i)
        d.LookupReturnUTF16Ptr(("$$$/Other" + std::to_string(i) + "=x").c_str());
    EXPECT_EQ(d.LookupReturnUTF16Ptr("$$$/K=x"), stored);
    EXPECT_EQ(std::u16string(stored), u"Wert\n");
    d.Add("/K", u"neu", 3);
    EXPECT_EQ(std::u16string(d.LookupReturnUTF16Ptr("$$$/K=x")), u"neu");
}

TEST(ZString, GetUnicodeCanLeaveOutAccessKeyMarkers)
{
    struct Row {
        std::u16string text;
        std::u16string stripped;
    };
    const Row rows[] = {
        {u"&Yes", u"Yes"}, {u"R&&D", u"R&D"}, {u"\u306f\u3044(&Y)", u"\u306f\u3044(Y)"},
        {u"end&", u"end&"}, {u"&&&x", u"&x"}, {u"plain", u"plain"},
    };
    for (const Row& row : rows) {
        const quire::ZString z(row.text);
        std::vector<char16_t> buffer(z.GetUnicodeSize());
        EXPECT_EQ(z.GetUnicode(buffer.data(), buffer.size(), true), row.stripped.size());
        EXPECT_EQ(std::u16string(buffer.data()), row.stripped);
        EXPECT_EQ(z.GetUnicode(buffer.data(), buffer.size(), false), row.text.size());
        EXPECT_EQ(std::u16string(buffer.data()), row.text);
    }
    char16_t small[3];
    EXPECT_EQ(quire::ZString(u"&Abc").GetUnicode(small, 3, true), 2u);
    EXPECT_EQ(std::u16string(small), u"Ab");
}
