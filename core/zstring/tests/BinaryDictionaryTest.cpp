#include "Dictionary.h"
#include "basic_ifstream.h"
#include "private/ByteOrder_p.h"
#include "private/ByteRunKey_p.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>
#include <thread>

using quire::Dictionary;

namespace {

Dictionary sample()
{
    Dictionary d;
    d.Add("/PtZString/Yes", u"&Ja", 3);
    d.Add("/PtZString/Cancel", u"Abbrechen", 9);
    d.Add("/Hat", u"a^nb", 4);
    d.Add("/Empty", u"", 0);
    for (int i = 0; i < 300; ++i) {
        const std::string key = "/Many/Key" + std::to_string(i);
        const std::u16string value = u"Wert " + std::u16string(key.begin(), key.end());
        d.Add(key.c_str(), value.data(), value.size());
    }
    return d;
}

std::string serialize(const Dictionary& d, quire::ByteOrder order)
{
    std::ostringstream out;
    const std::size_t n = d.Serialize(out, order);
    EXPECT_EQ(n, out.str().size());
    return out.str();
}

Dictionary fromBytes(const std::string& bytes)
{
    Dictionary d;
    d.Read(bytes.data(), bytes.size(), true);
    return d;
}

void expectSameAnswers(const Dictionary& expected, Dictionary actual)
{
    Dictionary keys = expected;
    EXPECT_EQ(actual.NumKeys(), expected.NumKeys());
    for (keys.ReSetKeyEnumeration(); keys.HasMoreKey();) {
        const std::string literal = "$$$" + keys.NextKey() + "=missing";
        EXPECT_EQ(actual.Lookup(literal.c_str()).Text(), expected.Lookup(literal.c_str()).Text()) << literal;
    }
}

} // namespace

TEST(BinaryDictionary, RoundTripsInBothByteOrders)
{
    const Dictionary d = sample();
    for (const auto order : {quire::kBigEndian, quire::kLittleEndian, quire::kHostOrder}) {
        const std::string bytes = serialize(d, order);
        ASSERT_GT(bytes.size(), 25u);
        EXPECT_EQ(bytes.substr(0, 21), "ZString Binary Format");
        EXPECT_EQ(bytes[21], 2);
        EXPECT_EQ(bytes[22], 1);
        const bool big = order == quire::kBigEndian
            || (order == quire::kHostOrder && quire_private::HostIsBigEndian());
        EXPECT_EQ(bytes[24], big ? 1 : 0);
        // The default locale: length 5 in the chosen order, then "en_US".
        EXPECT_EQ(bytes.substr(25, 4), big ? std::string("\0\0\0\5", 4) : std::string("\5\0\0\0", 4));
        EXPECT_EQ(bytes.substr(29, 5), "en_US");

        const Dictionary back = fromBytes(bytes);
        EXPECT_TRUE(back.IsValid());
        EXPECT_EQ(back.Locale(), "en_US");
        expectSameAnswers(d, back);
        EXPECT_EQ(back.Lookup("$$$/Hat=x").Text(), u"a\nb");
        EXPECT_EQ(back.Lookup("$$$/Nope=fallback").Text(), u"fallback");
        // Writing what was read gives the same bytes.
        EXPECT_EQ(serialize(back, order), bytes);
    }
    EXPECT_NE(serialize(d, quire::kBigEndian), serialize(d, quire::kLittleEndian));
}

TEST(BinaryDictionary, ChangesAfterLoadingMoveToTheTable)
{
    Dictionary d = fromBytes(serialize(sample(), quire::kBigEndian));
    d.Locale("de_DE");
    EXPECT_TRUE(d.Remove("/PtZString/Yes"));
    EXPECT_TRUE(d.Add("/New", u"neu", 3));
    EXPECT_EQ(d.NumKeys(), sample().NumKeys());
    EXPECT_EQ(d.Lookup("$$$/PtZString/Yes=&Yes").Text(), u"&Yes");
    EXPECT_EQ(d.Lookup("$$$/PtZString/Cancel=Cancel").Text(), u"Abbrechen");
    const Dictionary back = fromBytes(serialize(d, quire::kLittleEndian));
    EXPECT_EQ(back.Locale(), "de_DE");
    expectSameAnswers(d, back);
}

TEST(BinaryDictionary, SecondFileMergesIntoTheFirst)
{
    Dictionary first;
    first.Add("/A", u"first", 5);
    first.Add("/B", u"first", 5);
    Dictionary second;
    second.Add("/B", u"second", 6);
    Dictionary d = fromBytes(serialize(first, quire::kLittleEndian));
    const std::string more = serialize(second, quire::kBigEndian);
    EXPECT_TRUE(d.Read(more.data(), more.size(), false));
    EXPECT_EQ(d.NumKeys(), 2u);
    EXPECT_EQ(d.Lookup("$$$/A=x").Text(), u"first");
    EXPECT_EQ(d.Lookup("$$$/B=x").Text(), u"second");
}

TEST(BinaryDictionary, VersionsAndHeaderFields)
{
    const std::string good = serialize(sample(), quire::kHostOrder);
    // Format 2.0 has no byte-order byte and uses host order.
    std::string v20 = good;
    v20[22] = 0;
    v20.erase(24, 1);
    struct Row {
        const char* name;
        std::string bytes;
        bool valid;
    };
    auto patched = [&good](std::size_t at, char value) {
        std::string b = good;
        b[at] = value;
        return b;
    };
    const Row rows[] = {
        {"2.1", good, true},
        {"2.0 host order", v20, true},
        {"1.0", patched(21, 1).replace(22, 1, 1, 0), false},
        {"1.5", patched(21, 1).replace(22, 1, 1, 5), false},
        {"3.0", patched(21, 3), false},
        {"UTF-8 flag", patched(23, 1), false},
        {"byte order 2", patched(24, 2), false},
        {"array id", patched(34, 'X'), false},
        {"keys not stored", patched(38, 'N'), false},
        {"foreign array id 0", patched(34, 0).replace(35, 3, 3, '\0'), true},
        {"more buckets than the store uses", patched(43, '\xfe'), false}, // 1022
        {"short", good.substr(0, 24), false},
        {"identifier only", good.substr(0, 21), false},
        {"not binary", std::string("ZString Binary Formax") + good.substr(21), false},
    };
    for (const Row& row : rows) {
        const Dictionary d = fromBytes(row.bytes);
        EXPECT_EQ(d.IsValid(), row.valid) << row.name;
        EXPECT_EQ(d.Lookup("$$$/PtZString/Yes=&Yes").Text(), row.valid ? u"&Ja" : u"&Yes") << row.name;
    }
}

TEST(BinaryDictionary, ZeroBucketCountIsIgnored)
{
    Dictionary empty;
    std::string bytes = serialize(sample(), quire::kBigEndian);
    // Bucket count: after the header (34), id (4), "Y" (1) and entry count (4).
    bytes.replace(43, 4, std::string(4, '\0'));
    const Dictionary d = fromBytes(bytes);
    EXPECT_TRUE(d.IsValid());
    EXPECT_EQ(d.NumKeys(), 0u);
}

TEST(BinaryDictionary, TruncatedFileKeepsDefaults)
{
    const std::string good = serialize(sample(), quire::kLittleEndian);
    for (std::size_t n = 0; n < good.size(); ++n) {
        Dictionary d;
        d.Read(good.data(), n, true);
        ASSERT_FALSE(d.IsValid()) << n;
        ASSERT_EQ(d.Lookup("$$$/PtZString/Cancel=Cancel").Text(), u"Cancel") << n;
    }
}

TEST(BinaryDictionary, CorruptBytesNeverCrash)
{
    const std::string good = serialize(sample(), quire::kBigEndian);
    // Every header byte, then a spread over the array section.
    for (std::size_t i = 21; i < good.size(); i += i < 128 ? 1 : 7) {
        for (const unsigned char value : {0x00, 0x7f, 0xff}) {
            std::string bad = good;
            bad[i] = static_cast<char>(value);
            Dictionary d;
            std::istringstream in(bad);
            d.Read(in);
            const std::u16string text = d.Lookup("$$$/PtZString/Cancel=Cancel").Text();
            ASSERT_TRUE(text == u"Cancel" || text == u"Abbrechen" || d.IsValid()) << i;
        }
    }
}

TEST(BinaryDictionary, OverlongValueIsNotWritten)
{
    Dictionary d;
    const std::u16string big(70000, u'x');
    d.Add("/Big", big.data(), big.size());
    std::ostringstream out;
    testing::internal::CaptureStderr();
    EXPECT_EQ(d.Serialize(out), 0u);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Serialize2: Caught exception\n");
    EXPECT_TRUE(out.str().empty());
}

TEST(BinaryDictionary, CorruptEntryReadsAsAbsentOthersStillAnswer)
{
    const Dictionary good = fromBytes(serialize(sample(), quire::kLittleEndian));
    const std::string bytes = serialize(sample(), quire::kLittleEndian);
    const std::size_t count = good.NumKeys();
    // The array section starts at 34; its fixed fields take 25 bytes, then
    // the key offsets (4 each) and the key lengths (2 each).
    const std::size_t keyLengths = 34 + 25 + 4 * count;
    const std::size_t valueLengths = keyLengths + 2 * count + 4 * count;
    const std::string victim = good.GetStringId(0);
    const std::string other = good.GetStringId(static_cast<quire::ZStringId>(count - 1));
    ASSERT_FALSE(victim.empty());
    // In another bucket, so that no search for it meets the broken entry.
    ASSERT_NE(quire_private::ByteRunKey::Hash(victim, 1021), quire_private::ByteRunKey::Hash(other, 1021));
    for (const std::size_t at : {keyLengths, valueLengths}) {
        std::string bad = bytes;
        bad[at] = '\xff';
        bad[at + 1] = '\xff';
        Dictionary d = fromBytes(bad);
        EXPECT_TRUE(d.IsValid());
        EXPECT_FALSE(d.HasKey(victim.c_str())) << at;
        EXPECT_FALSE(d.ValidId(0));
        EXPECT_TRUE(d.HasKey(other.c_str()));
        // Enumeration and a change step over the broken entry.
        std::size_t listed = 0;
        for (d.ReSetKeyEnumeration(); d.HasMoreKey(); d.NextKey())
            ++listed;
        EXPECT_EQ(listed, count - 1);
        d.Add("/New", u"neu", 3);
        EXPECT_EQ(d.NumKeys(), count);
    }
    // An id past the entries in the bucket directory: a foreign file's
    // lookups go through the ids, so that key is not found; our own files
    // keep entries in bucket order and are searched without them.
    std::string badId = bytes;
    badId.replace(badId.size() - 4 * count, 4, "\xff\xff\xff\x7f");
    EXPECT_TRUE(fromBytes(badId).HasKey(victim.c_str()));
    badId.replace(34, 4, std::string(4, '\0'));
    const Dictionary d = fromBytes(badId);
    EXPECT_FALSE(d.HasKey(victim.c_str()));
    EXPECT_TRUE(d.HasKey(other.c_str()));
}

namespace {

class TempFile {
public:
    explicit TempFile(const char* name) : m_path("/tmp/zstring_" + std::to_string(::getpid()) + "_" + name) {}
    ~TempFile() { std::remove(m_path.c_str()); }
    const char* path() const { return m_path.c_str(); }

private:
    std::string m_path;
};

} // namespace

TEST(BinaryDictionary, MappedFileOutlivesItsStream)
{
    const TempFile binary("binary.dct");
    const TempFile text("text.dct");
    std::ofstream(binary.path(), std::ios::binary) << serialize(sample(), quire::kBigEndian);
    std::ofstream(text.path(), std::ios::binary) << "\"$$$/PtZString/Yes=&Oui\"\n";
    Dictionary fromBinary;
    Dictionary fromText;
    {
        quire::basic_ifstream in(binary.path());
        ASSERT_TRUE(in.is_open());
        EXPECT_TRUE(fromBinary.Read(in));
        quire::basic_ifstream inText(text.path());
        EXPECT_TRUE(fromText.Read(inText));
    }
    std::remove(binary.path());
    expectSameAnswers(sample(), fromBinary);
    EXPECT_EQ(fromText.Lookup("$$$/PtZString/Yes=&Yes").Text(), u"&Oui");

    quire::basic_ifstream missing("/nonexistent/SkiffStrings.dct");
    EXPECT_FALSE(missing.is_open());
    EXPECT_FALSE(missing);
    Dictionary d;
    EXPECT_FALSE(d.Read(missing));
    quire::basic_ifstream directory("/tmp");
    EXPECT_FALSE(directory.is_open());
}

TEST(BinaryDictionary, MappedStreamReadsAndSeeksLikeAFile)
{
    const TempFile file("plain.txt");
    std::ofstream(file.path(), std::ios::binary) << "first line\nsecond";
    quire::basic_ifstream in(file.path());
    std::string line;
    ASSERT_TRUE(std::getline(in, line));
    EXPECT_EQ(line, "first line");
    EXPECT_EQ(in.tellg(), 11);
    in.seekg(-3, std::ios::end);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "ond");
    in.clear();
    in.seekg(6);
    EXPECT_EQ(in.peek(), 'l');
    in.seekg(100);
    EXPECT_TRUE(in.fail());
}

TEST(BinaryDictionary, UnmappableFileIsReadInstead)
{
    const TempFile fifo("pipe");
    ASSERT_EQ(::mkfifo(fifo.path(), 0600), 0);
    const std::string bytes = serialize(sample(), quire::kLittleEndian);
    std::thread writer([&] { std::ofstream(fifo.path(), std::ios::binary) << bytes; });
    quire::basic_ifstream in(fifo.path());
    Dictionary d;
    EXPECT_TRUE(d.Read(in));
    writer.join();
    expectSameAnswers(sample(), d);
}

TEST(BinaryDictionary, ForeignArrayWithUnsortedBucketsIsScanned)
{
    const Dictionary d = sample();
    std::string bytes = serialize(d, quire::kLittleEndian);
    auto number = [&bytes](std::size_t at, std::size_t n) {
        std::uint32_t v = 0;
        for (std::size_t i = 0; i < n; ++i)
            v |= std::uint32_t(static_cast<unsigned char>(bytes[at + i])) << (8 * i);
        return v;
    };
    // Array section at 34: id (4), "Y", entry count at 39, buckets at 43,
    // non-empty buckets at 47; the directory's counts and ids end the file.
    const std::uint32_t count = number(39, 4);
    const std::uint32_t nonEmpty = number(47, 4);
    const std::size_t ids = bytes.size() - 4 * std::size_t(count);
    const std::size_t counts = ids - 4 * std::size_t(nonEmpty);
    std::uint32_t start = 0;
    std::uint32_t n = 0;
    for (std::uint32_t b = 0; b < nonEmpty && n < 3; ++b) {
        start += n;
        n = number(counts + 4 * b, 4);
    }
    ASSERT_GE(n, 3u) << "no crowded bucket in the sample";
    // Store that bucket's entries in reverse (their offset and length
    // records; the id list still names the same set) and drop the id word
    // that promises order.
    const std::size_t records[][2] = {
        {59, 4}, {59 + 4 * std::size_t(count), 2}, {59 + 6 * std::size_t(count), 4}, {59 + 10 * std::size_t(count), 2}};
    for (const auto& [base, width] : records) {
        for (std::uint32_t i = 0; i < n / 2; ++i) {
            for (std::size_t k = 0; k < width; ++k)
                std::swap(bytes[base + width * (start + i) + k], bytes[base + width * (start + n - 1 - i) + k]);
        }
    }
    bytes.replace(34, 4, std::string(4, '\0'));
    expectSameAnswers(d, fromBytes(bytes));
}
