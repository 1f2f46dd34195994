#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <unistd.h>

#include <map>

#include "PtPreferenceFile.h"

namespace {

PtPreferenceValue text(const QString& t)
{
    PtPreferenceValue v;
    v.kind = PtPreferenceValue::Kind::Text;
    v.text = t;
    return v;
}

PtPreferenceValue bytes(const QByteArray& b)
{
    PtPreferenceValue v;
    v.kind = PtPreferenceValue::Kind::Bytes;
    v.bytes = b;
    return v;
}

} // namespace

TEST(PtPreferenceFile, EveryValueSurvivesTheRoundTrip)
{
    const struct {
        const char* key;
        PtPreferenceValue value;
    } rows[] = {
        {"Empty", text({})},
        {"Plain", text(QStringLiteral("3"))},
        {"Spaces", text(QStringLiteral("  two  spaces  "))},
        {"Markup", text(QStringLiteral("<a href=\"x\">&amp;</a>"))},
        {"LineEnds", text(QStringLiteral("a\r\nb\rc\td"))},
        {"NonLatin", text(QString::fromUtf8("F\xC3\xBCr \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x93\xB7"))},
        {"LoneSurrogate", text(QString(QChar(0xD800)) + QStringLiteral("x"))},
        {"Nul", text(QString(QChar(0)) + QStringLiteral("after"))},
        {"Pattern", bytes("0#\"\"#-1#-1|$%6#\"\"#6#11|$%0#\"_\"#-1#-1|$%4#\"1\"#-1#6")},
        {"NotUtf8", bytes(QByteArray("\xFF\xFE\x80ok", 5))},
        {"NulBytes", bytes(QByteArray("a\0b", 3))},
        // Regression: a leading byte-order mark was taken for a header and lost.
        {"LeadingBom", bytes("\xEF\xBB\xBF" "2")},
        {"LeadingBomText", text(QString(QChar(0xFEFF)) + QStringLiteral("2"))},
        {"EmptyBytes", bytes({})},
        {"With Space", bytes("x")},
    };
    PtPreferenceValues values;
    for (const auto& row : rows)
        values[3][row.key] = row.value;
    values[-7]["Negative"] = text(QStringLiteral("domain"));

    const PtPreferenceFile::ReadResult back = PtPreferenceFile::parse(PtPreferenceFile::serialize(values));
    ASSERT_EQ(back.status, PtPreferenceFile::Status::Loaded) << qPrintable(back.error);
    for (const auto& row : rows) {
        ASSERT_EQ(back.values.at(3).count(row.key), 1u) << row.key;
        EXPECT_TRUE(back.values.at(3).at(row.key) == row.value) << row.key;
    }
    EXPECT_EQ(back.values.at(-7).at("Negative").text, QStringLiteral("domain"));
}

TEST(PtPreferenceFile, MalformedDocumentsAreCorrupt)
{
    const struct {
        const char* name;
        const char* document;
        const char* error; // a part of the reason given
    } rows[] = {
        {"empty", "", "Premature end"},
        {"truncated", "<preferences version=\"1\"><domain id=\"3\"><value key=\"a\" type=\"text\">1</val", ""},
        {"unclosed", "<preferences version=\"1\"><domain id=\"3\">", ""},
        {"wrong root", "<plist version=\"1\"/>", "not a preference file"},
        {"wrong version", "<preferences version=\"2\"/>", "version"},
        {"no version", "<preferences/>", "version"},
        {"domain id", "<preferences version=\"1\"><domain id=\"x\"/></preferences>", "numeric id"},
        {"twice domain", "<preferences version=\"1\"><domain id=\"3\"/><domain id=\"3\"/></preferences>", "twice"},
        {"stray element", "<preferences version=\"1\"><other/></preferences>", "unexpected element"},
        {"bad key", "<preferences version=\"1\"><domain id=\"3\"><value key=\"\" type=\"text\"/></domain></preferences>",
         "bad key"},
        {"non-ascii key",
         "<preferences version=\"1\"><domain id=\"3\"><value key=\"\xC3\xA9\" type=\"text\"/></domain></preferences>",
         "bad key"},
        {"bad type", "<preferences version=\"1\"><domain id=\"3\"><value key=\"a\" type=\"int\">1</value></domain></preferences>",
         "unknown type"},
        {"twice key",
         "<preferences version=\"1\"><domain id=\"3\"><value key=\"a\" type=\"text\"/><value key=\"a\" type=\"text\"/>"
         "</domain></preferences>",
         "twice"},
        {"bad base64",
         "<preferences version=\"1\"><domain id=\"3\"><value key=\"a\" type=\"bytes\" encoding=\"base64\">@@</value>"
         "</domain></preferences>",
         "base64"},
        {"odd utf16",
         "<preferences version=\"1\"><domain id=\"3\"><value key=\"a\" type=\"text\" encoding=\"base64\">QUJD</value>"
         "</domain></preferences>",
         "odd"},
        {"unknown encoding",
         "<preferences version=\"1\"><domain id=\"3\"><value key=\"a\" type=\"text\" encoding=\"hex\">41</value>"
         "</domain></preferences>",
         "encoding"},
        {"nested value",
         "<preferences version=\"1\"><domain id=\"3\"><value key=\"a\" type=\"text\"><b/></value></domain></preferences>", ""},
        {"trailing element", "<preferences version=\"1\"/><preferences version=\"1\"/>", ""},
        {"trailing text", "<preferences version=\"1\"/>junk", ""},
        {"binary", "\x01\x02\x03\xFF", ""},
    };
    for (const auto& row : rows) {
        const PtPreferenceFile::ReadResult r = PtPreferenceFile::parse(QByteArray(row.document));
        EXPECT_EQ(r.status, PtPreferenceFile::Status::Corrupt) << row.name;
        EXPECT_TRUE(r.values.empty()) << row.name;
        EXPECT_FALSE(r.error.isEmpty()) << row.name;
        EXPECT_TRUE(r.error.contains(QLatin1String(row.error))) << row.name << ": " << qPrintable(r.error);
    }
}

TEST(PtPreferenceFile, CommentsAndWhiteSpaceAroundTheDocumentAreFine)
{
    const auto r = PtPreferenceFile::parse(
        "<?xml version=\"1.0\"?>\n<!-- c -->\n<preferences version=\"1\">\n <!-- d -->\n"
        " <domain id=\"3\"> <value key=\"k\" type=\"text\">v</value> </domain>\n</preferences>\n<!-- e -->\n");
    ASSERT_EQ(r.status, PtPreferenceFile::Status::Loaded) << qPrintable(r.error);
    EXPECT_EQ(r.values.at(3).at("k").text, QStringLiteral("v"));
}

TEST(PtPreferenceFile, SeedDocumentsReadAsTheirNamesSay)
{
    // The fuzzer's seeds double as a catalogue of the XML forms the reader
    // meets: entities, character references, CDATA, comments, a declared
    // entity, UTF-16, CR LF line ends. Those named rejected_* must be Corrupt.
    const QDir seeds(QStringLiteral(TESSEL_SOURCE_DIR "/modules/preference_xml_parser/tests/fuzz/preference_file_fuzzer"));
    const QStringList names = seeds.entryList(QDir::Files, QDir::Name);
    ASSERT_GE(names.size(), 8);
    std::map<QString, PtPreferenceFile::ReadResult> results;
    for (const QString& name : names) {
        const auto r = PtPreferenceFile::read(seeds.filePath(name));
        const bool rejected = name.startsWith(QLatin1String("rejected_"));
        EXPECT_EQ(r.status, rejected ? PtPreferenceFile::Status::Corrupt : PtPreferenceFile::Status::Loaded)
            << qPrintable(name) << ": " << qPrintable(r.error);
        results[name] = r;
    }
    const struct {
        const char* file;
        int domain;
        const char* key;
        const char* value; // UTF-8
    } rows[] = {
        {"entities.xml", 3, "Markup", "<a href=\"x\">&'</a>"},
        {"entities.xml", 3, "Refs", "AB\xE2\x98\xBA\xF0\x9F\x93\xB7"},
        {"entities.xml", 3, "Location", "/home/user/Pictures/2024"},
        {"entities.xml", 3, "Attr&Key", "1"},
        {"cdata_and_comments.xml", 3, "Pattern", "0#\"\"#-1#-1|$%4#\"1\"#-1#6 <not markup> & "},
        {"cdata_and_comments.xml", 3, "Split", "abcd"},
        {"every_value_form.xml", 3, "TextLines", "a\r\nb"},
        {"line_ends.xml", 3, "k", "  spaced\n  "},
        {"utf16.xml", 3, "k", "\xE6\x97\xA5\xE6\x9C\xAC"},
        {"several_domains.xml", -7, "a", "x"},
        {"several_domains.xml", 12, "c", "z"},
        {"shipped_defaults.xml", 3, "BatchRenamePreference", "0#\"\"#-1#-1|$%6#\"\"#6#11|$%0#\"_\"#-1#-1|$%4#\"1\"#-1#6"},
    };
    for (const auto& row : rows) {
        const auto& values = results[QString::fromLatin1(row.file)].values;
        ASSERT_TRUE(values.count(row.domain) && values.at(row.domain).count(row.key)) << row.file << " " << row.key;
        EXPECT_EQ(values.at(row.domain).at(row.key).asBytes(), QByteArray(row.value)) << row.file << " " << row.key;
    }
}

TEST(PtPreferenceFile, ReadDistinguishesMissingFromCorruptAndWriteReplacesAtomically)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("Preferences.xml"));
    EXPECT_EQ(PtPreferenceFile::read(path).status, PtPreferenceFile::Status::Missing);

    PtPreferenceValues values;
    values[3]["k"] = text(QStringLiteral("first"));
    QString error;
    ASSERT_TRUE(PtPreferenceFile::write(path, values, &error)) << qPrintable(error);
    values[3]["k"] = text(QStringLiteral("second"));
    ASSERT_TRUE(PtPreferenceFile::write(path, values, &error)) << qPrintable(error);
    const auto r = PtPreferenceFile::read(path);
    ASSERT_EQ(r.status, PtPreferenceFile::Status::Loaded);
    EXPECT_EQ(r.values.at(3).at("k").text, QStringLiteral("second"));
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), QStringList{QStringLiteral("Preferences.xml")})
        << "no temporary file is left behind";

    // A folder that cannot be written: the write fails and the old file stays.
    ASSERT_TRUE(QFile::setPermissions(dir.path(), QFile::ReadOwner | QFile::ExeOwner));
    if (::geteuid() != 0) {
        values[3]["k"] = text(QStringLiteral("third"));
        EXPECT_FALSE(PtPreferenceFile::write(path, values, &error));
        EXPECT_FALSE(error.isEmpty());
        EXPECT_EQ(PtPreferenceFile::read(path).values.at(3).at("k").text, QStringLiteral("second"));
    }
    QFile::setPermissions(dir.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

TEST(PtPreferenceFile, ReadTakesABufferTheSizeOfWhatTheFileHolds)
{
    // Regression: every read set aside a buffer of the largest allowed size
    // and kept it for the parse, to read a file of 2 KB.
    const QString shipped = QStringLiteral(TESSEL_SOURCE_DIR "/modules/preference_xml_parser/Resources/Preferences.xml");
    QByteArray document;
    QString error;
    ASSERT_TRUE(PtPreferenceFile::readDocument(shipped, &document, &error)) << qPrintable(error);
    EXPECT_EQ(document.size(), QFileInfo(shipped).size());
    EXPECT_LT(document.capacity(), document.size() + 64);
    const auto r = PtPreferenceFile::read(shipped);
    ASSERT_EQ(r.status, PtPreferenceFile::Status::Loaded) << qPrintable(r.error);
    EXPECT_EQ(r.values.at(3).at("CreateSubfoldersComboIndex").text, QStringLiteral("3"));
}

TEST(PtPreferenceFile, ReadStopsAtTheLimitWithAClearError)
{
    QTemporaryDir dir;
    const auto sized = [&dir](qint64 size) {
        const QString path = dir.filePath(QStringLiteral("sized-%1").arg(size));
        QFile f(path);
        f.open(QIODevice::WriteOnly);
        f.resize(size);
        return path;
    };
    const QString limitText = QStringLiteral("larger than %1 bytes").arg(PtPreferenceFile::kMaxFileSize);
    const struct {
        const char* name;
        QString path;
        bool ok;
        QString error; // a part of the reason given
    } rows[] = {
        {"at the limit", sized(PtPreferenceFile::kMaxFileSize), true, {}},
        {"one past the limit", sized(PtPreferenceFile::kMaxFileSize + 1), false, limitText},
        {"far past the limit", sized(PtPreferenceFile::kMaxFileSize * 70), false, limitText},
        // A device says it holds nothing and never ends.
        {"endless device", QStringLiteral("/dev/zero"), false, limitText},
        {"a folder", dir.path(), false, QStringLiteral("directory")},
    };
    for (const auto& row : rows) {
        QByteArray document;
        QString error;
        EXPECT_EQ(PtPreferenceFile::readDocument(row.path, &document, &error), row.ok) << row.name;
        if (row.ok) {
            EXPECT_EQ(document.size(), PtPreferenceFile::kMaxFileSize) << row.name;
        } else {
            EXPECT_TRUE(error.contains(row.error)) << row.name << ": " << qPrintable(error);
            const auto r = PtPreferenceFile::read(row.path);
            EXPECT_EQ(r.status, PtPreferenceFile::Status::Corrupt) << row.name;
            EXPECT_EQ(r.error, error) << row.name;
        }
    }
}

TEST(PtPreferenceFile, WriteRefusesADocumentItCouldNotReadBack)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("Preferences.xml"));
    PtPreferenceValues values;
    values[3]["k"] = text(QStringLiteral("kept"));
    QString error;
    ASSERT_TRUE(PtPreferenceFile::write(path, values, &error)) << qPrintable(error);

    // Just under the limit once written, then just over it.
    const int overhead = PtPreferenceFile::serialize(values).size() - 4;
    const int fits = int(PtPreferenceFile::kMaxFileSize) - overhead;
    values[3]["k"] = text(QString(fits, QLatin1Char('x')));
    ASSERT_EQ(PtPreferenceFile::serialize(values).size(), PtPreferenceFile::kMaxFileSize);
    ASSERT_TRUE(PtPreferenceFile::write(path, values, &error)) << qPrintable(error);
    EXPECT_EQ(PtPreferenceFile::read(path).values.at(3).at("k").text.size(), fits);

    values[3]["k"] = text(QString(fits + 1, QLatin1Char('x')));
    EXPECT_FALSE(PtPreferenceFile::write(path, values, &error));
    EXPECT_TRUE(error.contains(QStringLiteral("more than the %1").arg(PtPreferenceFile::kMaxFileSize)))
        << qPrintable(error);
    EXPECT_EQ(PtPreferenceFile::read(path).values.at(3).at("k").text.size(), fits) << "the old file stays";
}

TEST(PtPreferenceFile, KeysArePrintableAsciiUpTo255Characters)
{
    const std::string longest(255, 'k');
    const std::string tooLong(256, 'k');
    const struct {
        const char* key;
        bool ok;
    } rows[] = {{"Location", true}, {"a b", true}, {"~", true},       {"", false},
                {"tab\t", false},   {"\x7F", false}, {"\xC3\xA9", false}, {longest.c_str(), true},
                {tooLong.c_str(), false}, {nullptr, false}};
    for (const auto& row : rows)
        EXPECT_EQ(ptIsPreferenceKey(row.key), row.ok) << (row.key ? row.key : "(null)");
}
