#include <gtest/gtest.h>

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFontMetrics>
#include <QGuiApplication>
#include <QRect>
#include <QTemporaryDir>

#include <sys/stat.h>

#include "AppFileUtils.h"

namespace {

bool touch(const QString& path, const QByteArray& content = {})
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly) && f.write(content) == content.size();
}

QByteArray contents(const QString& path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("(unreadable)");
}

mode_t modeOf(const QString& path)
{
    struct stat st;
    return ::stat(QFile::encodeName(path).constData(), &st) == 0 ? st.st_mode & 07777 : 0;
}

QByteArray pattern(int size)
{
    QByteArray b(size, Qt::Uninitialized);
    for (int i = 0; i < size; ++i)
        b[i] = char((i * 131) ^ (i >> 8));
    return b;
}

} // namespace

TEST(generateUniqueFileName, PicksTheFirstFreeCandidate)
{
    const QString longBase = QString(253, QLatin1Char('x'));
    const QByteArray longBaseBytes = longBase.toLatin1();
    const struct {
        const char* name;
        const char* inOut;
        unsigned start;
        bool always;
        QStringList taken;
        QString expected;
    } rows[] = {
        {"IMG_0001.JPG", "", 1, false, {}, QStringLiteral("IMG_0001.JPG")},
        {"IMG_0001.JPG", "", 1, false, {"IMG_0001.JPG"}, QStringLiteral("IMG_0001-1.JPG")},
        {"IMG_0001.JPG", "", 1, false, {"IMG_0001.JPG", "IMG_0001-1.JPG"}, QStringLiteral("IMG_0001-2.JPG")},
        {"IMG_0001.JPG", "", 1, true, {}, QStringLiteral("IMG_0001-1.JPG")},
        {"IMG_0001.JPG", "", 7, true, {"IMG_0001-7.JPG"}, QStringLiteral("IMG_0001-8.JPG")},
        {"README", "", 1, false, {"README"}, QStringLiteral("README-1")},
        {"my.folder.name", "", 5, true, {}, QStringLiteral("my.folder-5.name")},
        {"ignored.jpg", "chosen.tif", 1, false, {"chosen.tif"}, QStringLiteral("chosen-1.tif")},
        {longBaseBytes.constData(), "", 1, true, {}, longBase + QStringLiteral("-1")},
    };
    for (const auto& row : rows) {
        QTemporaryDir dir;
        for (const QString& t : row.taken)
            ASSERT_TRUE(touch(dir.filePath(t)));
        QString out = QString::fromLatin1(row.inOut);
        EXPECT_TRUE(generateUniqueFileName(QStringLiteral("  ") + dir.path() + QStringLiteral("\t"),
                                           QString::fromLatin1(row.name), out, row.start, row.always))
            << row.name;
        EXPECT_EQ(out, row.expected) << row.name;
        EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files).size(), row.taken.size())
            << "the probe file is removed again";
    }
}

TEST(generateUniqueFileName, EveryKindOfTakenNameIsPassedOver)
{
    // The first candidate is looked up by its full path, the later ones in a
    // handle on the folder: each kind of taken name is tried in both places.
    const QString nonAscii = QString::fromUtf8("F\xC3\xBCr \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x93\xB7.jpg");
    const QString nonAsciiStem = nonAscii.chopped(4);
    const struct {
        const char* what;
        QString name;
        QStringList files, folders, danglingLinks;
        QString expected;
    } rows[] = {
        {"file, non-ASCII", nonAscii, {nonAscii, nonAsciiStem + "-1.jpg"}, {}, {}, nonAsciiStem + "-2.jpg"},
        {"folder", "a.jpg", {}, {"a.jpg", "a-1.jpg"}, {}, "a-2.jpg"},
        // A link to nothing looks free to the existence probe; the exclusive
        // create finds it taken.
        {"dangling link", "a.jpg", {}, {}, {"a.jpg", "a-1.jpg"}, "a-2.jpg"},
        {"mixed", "a.jpg", {"a-1.jpg"}, {"a-2.jpg"}, {"a.jpg", "a-3.jpg"}, "a-4.jpg"},
        {"empty name", "", {}, {}, {}, "-1"},
    };
    for (const auto& row : rows) {
        QTemporaryDir dir;
        for (const QString& f : row.files)
            ASSERT_TRUE(touch(dir.filePath(f)));
        for (const QString& f : row.folders)
            ASSERT_TRUE(QDir(dir.path()).mkdir(f));
        for (const QString& f : row.danglingLinks)
            ASSERT_TRUE(QFile::link(dir.filePath(QStringLiteral("nowhere")), dir.filePath(f)));
        const QStringList before = QDir(dir.path()).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
        QString out;
        EXPECT_TRUE(generateUniqueFileName(dir.path(), row.name, out, 1, false)) << row.what;
        EXPECT_EQ(out, row.expected) << row.what;
        EXPECT_EQ(QDir(dir.path()).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot), before)
            << row.what << ": the probe file is removed again";
    }
}

TEST(generateUniqueFileName, LongNameRuleStartsAt254Units)
{
    // 248 + ".jpg" + one digit = 253: the ordinary form. One more unit, from
    // the name or from the number, and the whole base stays in front of the
    // number; the name is then too long for the file system and the search
    // fails on it.
    const struct {
        QString name;
        unsigned start;
        bool found;
        QString expected;
    } rows[] = {
        {QString(248, 'x') + ".jpg", 1, true, QString(248, 'x') + "-1.jpg"},
        {QString(249, 'x') + ".jpg", 1, false, QString(249, 'x') + ".jpg-1.jpg"},
        {QString(248, 'x') + ".jpg", 9, true, QString(248, 'x') + "-9.jpg"},
        {QString(248, 'x') + ".jpg", 10, false, QString(248, 'x') + ".jpg-10.jpg"},
        // Units, not bytes: 124 four-byte characters are 248 units. Both names
        // are too long in bytes for the file system; the form shows the rule.
        {QString::fromUtf8("\xF0\x9F\x93\xB7").repeated(124) + ".jpg", 1, false,
         QString::fromUtf8("\xF0\x9F\x93\xB7").repeated(124) + "-1.jpg"},
        {QString::fromUtf8("\xF0\x9F\x93\xB7").repeated(125) + ".jpg", 1, false,
         QString::fromUtf8("\xF0\x9F\x93\xB7").repeated(125) + ".jpg-1.jpg"},
    };
    for (const auto& row : rows) {
        QTemporaryDir dir;
        QString out;
        EXPECT_EQ(generateUniqueFileName(dir.path(), row.name, out, row.start, true), row.found) << row.start;
        EXPECT_EQ(out, row.expected) << row.start;
    }
}

TEST(generateUniqueFileName, GivesUpAfterTenThousandTakenCandidates)
{
    QTemporaryDir dir;
    ASSERT_TRUE(touch(dir.filePath(QStringLiteral("a"))));
    for (int n = 0; n < 9999; ++n)
        ASSERT_TRUE(touch(dir.filePath(QStringLiteral("a-%1").arg(n))));
    QString out;
    EXPECT_FALSE(generateUniqueFileName(dir.path(), QStringLiteral("a"), out, 0, false));
    EXPECT_EQ(out, QStringLiteral("a-9998"));

    ASSERT_TRUE(QFile::remove(dir.filePath(QStringLiteral("a-9998"))));
    out.clear();
    EXPECT_TRUE(generateUniqueFileName(dir.path(), QStringLiteral("a"), out, 0, false)) << "the last attempt counts";
    EXPECT_EQ(out, QStringLiteral("a-9998"));
}

TEST(generateUniqueFileName, FailsAtOnceWhenTheFolderIsMissing)
{
    QTemporaryDir dir;
    QString out;
    EXPECT_FALSE(generateUniqueFileName(dir.filePath(QStringLiteral("missing")), QStringLiteral("a.jpg"), out, 1,
                                        false));
    EXPECT_EQ(out, QStringLiteral("a.jpg"));
}

TEST(utilBaseFilename, SplitsTheTrailingNumber)
{
    const struct {
        const char* name;
        const char* base;
        unsigned number;
    } rows[] = {
        {"a-b-7.jpg", "a-b", 7},     {"trip-x.jpg", "trip", 0}, {"IMG_0001.JPG", "IMG_0001", 0},
        {"README-12", "README", 12}, {"x.y-3.z", "x.y", 3},     {"-5", "", 5},
        {"a-.jpg", "a", 0},          {"plain", "plain", 0},     {"a-1-2.b.c", "a-1", 0},
    };
    for (const auto& row : rows) {
        QString base;
        EXPECT_EQ(utilBaseFilename(QString::fromLatin1(row.name), base), row.number) << row.name;
        EXPECT_EQ(base, QString::fromLatin1(row.base)) << row.name;
    }
}

TEST(copyFileIntoTargetFolder, CopiesBytesTimesAndGivesTheOwnerAlone)
{
    QTemporaryDir src, dst;
    for (int size : {0, 1, 3 * 1024 * 1024 + 7}) {
        const QString name = QStringLiteral("f%1.raw").arg(size);
        ASSERT_TRUE(touch(src.filePath(name), pattern(size)));
        ASSERT_TRUE(QFile::setPermissions(src.filePath(name), QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther));
        const QString copy = QStringLiteral("copy %1.raw").arg(size);
        EXPECT_TRUE(copyFileIntoTargetFolder(src.path() + QStringLiteral(" "), name, dst.path(), copy)) << size;
        EXPECT_EQ(contents(dst.filePath(copy)), pattern(size)) << size;
        EXPECT_EQ(modeOf(dst.filePath(copy)), mode_t(0600)) << size;
        EXPECT_EQ(QFileInfo(dst.filePath(copy)).lastModified(), QFileInfo(src.filePath(name)).lastModified());
    }
}

TEST(copyFileIntoTargetFolder, RefusesWhatItCannotCopyAndLosesNothing)
{
    QTemporaryDir src, dst;
    ASSERT_TRUE(touch(src.filePath(QStringLiteral("new")), "new bytes"));
    ASSERT_TRUE(touch(dst.filePath(QStringLiteral("old")), "old bytes"));
    ASSERT_TRUE(QDir(src.path()).mkdir(QStringLiteral("folder")));

    EXPECT_FALSE(copyFileIntoTargetFolder(src.path(), QStringLiteral("new"), dst.path(), QStringLiteral("old")));
    EXPECT_EQ(contents(dst.filePath(QStringLiteral("old"))), QByteArray("old bytes"));
    EXPECT_EQ(modeOf(dst.filePath(QStringLiteral("old"))), mode_t(0600)) << "the owner keeps the target either way";

    EXPECT_FALSE(copyFileIntoTargetFolder(src.path(), QStringLiteral("missing"), dst.path(), QStringLiteral("m")));
    EXPECT_FALSE(copyFileIntoTargetFolder(src.path(), QStringLiteral("folder"), dst.path(), QStringLiteral("d")));
    EXPECT_FALSE(copyFileIntoTargetFolder(src.path(), QStringLiteral("new"), dst.filePath(QStringLiteral("no/such")),
                                          QStringLiteral("n")));
    EXPECT_FALSE(QFileInfo::exists(dst.filePath(QStringLiteral("no")))) << "no folder is created";
    EXPECT_EQ(QDir(dst.path()).entryList(QDir::Files), QStringList{QStringLiteral("old")});
}

TEST(copyFileIntoTargetFolder, CopiesAcrossFileSystems)
{
    if (!QFileInfo(QStringLiteral("/dev/shm")).isWritable())
        GTEST_SKIP() << "no /dev/shm";
    QTemporaryDir src(QStringLiteral("/dev/shm/apputils-XXXXXX")), dst;
    ASSERT_TRUE(src.isValid());
    ASSERT_TRUE(touch(src.filePath(QStringLiteral("a")), pattern(2 * 1024 * 1024 + 1)));
    EXPECT_TRUE(copyFileIntoTargetFolder(src.path(), QStringLiteral("a"), dst.path(), QStringLiteral("a")));
    EXPECT_EQ(contents(dst.filePath(QStringLiteral("a"))), pattern(2 * 1024 * 1024 + 1));
}

TEST(mkdirFromAbsPath, CreatesEveryMissingParent)
{
    QTemporaryDir dir;
    const QString deep = dir.filePath(QStringLiteral("a/b c/d"));
    EXPECT_TRUE(mkdirFromAbsPath(deep));
    EXPECT_TRUE(QFileInfo(deep).isDir());
    ASSERT_TRUE(touch(deep + QStringLiteral("/keep"), "x"));
    EXPECT_TRUE(mkdirFromAbsPath(deep + QStringLiteral("/")));
    EXPECT_EQ(contents(deep + QStringLiteral("/keep")), QByteArray("x")) << "an existing folder is left alone";

    ASSERT_TRUE(touch(dir.filePath(QStringLiteral("file"))));
    EXPECT_FALSE(mkdirFromAbsPath(dir.filePath(QStringLiteral("file/sub"))));
    EXPECT_FALSE(mkdirFromAbsPath(dir.filePath(QStringLiteral("file"))));
    EXPECT_FALSE(mkdirFromAbsPath(QString()));
}

TEST(unLockFile, GivesTheOwnerWriteAndLeavesFoldersAlone)
{
    QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("locked"));
    ASSERT_TRUE(touch(file));
    ASSERT_EQ(::chmod(QFile::encodeName(file).constData(), 0444), 0);
    unLockFile(file);
    EXPECT_EQ(modeOf(file), mode_t(0644));

    const QString folder = dir.filePath(QStringLiteral("folder"));
    ASSERT_TRUE(QDir().mkdir(folder));
    ASSERT_EQ(::chmod(QFile::encodeName(folder).constData(), 0555), 0);
    unLockFile(folder);
    EXPECT_EQ(modeOf(folder), mode_t(0555));
    ::chmod(QFile::encodeName(folder).constData(), 0755);
    unLockFile(dir.filePath(QStringLiteral("missing")));
}

TEST(unLockFile, PathsAreCutTo255Bytes)
{
    // The path reaches the file system through a 256-byte buffer: a longer
    // path names the file its first 255 bytes name, here a shorter sibling.
    QTemporaryDir dir;
    const QString folder = dir.filePath(QString(100, QLatin1Char('d')));
    ASSERT_TRUE(QDir().mkpath(folder));
    const QString prefix = folder + QLatin1Char('/');
    const int room = 255 - int(QFile::encodeName(prefix).size());
    ASSERT_GT(room, 10);
    const QString cut = prefix + QString(room, QLatin1Char('n'));
    const QString shorter = prefix + QString(room - 1, QLatin1Char('n'));
    const QString full = prefix + QString(room + 20, QLatin1Char('n'));
    for (const QString& path : {cut, shorter, full}) {
        ASSERT_TRUE(touch(path));
        ASSERT_EQ(::chmod(QFile::encodeName(path).constData(), 0444), 0);
    }
    unLockFile(full);
    EXPECT_EQ(modeOf(cut), mode_t(0644)) << "the file the first 255 bytes name";
    EXPECT_EQ(modeOf(full), mode_t(0444));
    EXPECT_EQ(modeOf(shorter), mode_t(0444));
}

TEST(isFolderWritable, FollowsTheWritePermission)
{
    QTemporaryDir dir;
    EXPECT_TRUE(isFolderWritable(dir.path()));
    EXPECT_FALSE(isFolderWritable(dir.filePath(QStringLiteral("missing"))));
    if (::geteuid() != 0) {
        ASSERT_EQ(::chmod(QFile::encodeName(dir.path()).constData(), 0555), 0);
        EXPECT_FALSE(isFolderWritable(dir.path()));
        ::chmod(QFile::encodeName(dir.path()).constData(), 0755);
    }
}

TEST(StandardFolders, AreCutTo256BytesAtACharacterBoundary)
{
    const QByteArray savedData = qgetenv("XDG_DATA_HOME");
    const QByteArray savedConfig = qgetenv("XDG_CONFIG_HOME");
    QTemporaryDir config;
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(config.path()));
    const QString ae = QStringLiteral("\u00e4"); // two bytes in UTF-8
    const struct {
        QString folder;
        QString expected;
    } rows[] = {
        {QStringLiteral("/") + QString(255, QLatin1Char('p')), QStringLiteral("/") + QString(255, QLatin1Char('p'))},
        {QStringLiteral("/") + QString(256, QLatin1Char('p')), QStringLiteral("/") + QString(255, QLatin1Char('p'))},
        {QStringLiteral("/") + QString(253, QLatin1Char('p')) + ae, QStringLiteral("/") + QString(253, QLatin1Char('p')) + ae},
        {QStringLiteral("/") + QString(254, QLatin1Char('p')) + ae, QStringLiteral("/") + QString(254, QLatin1Char('p'))},
    };
    for (const auto& row : rows) {
        qputenv("XDG_DATA_HOME", QFile::encodeName(row.folder));
        EXPECT_TRUE(getApplicationDataFolderPath() == row.expected) << row.folder.size();
        QFile dirs(config.filePath(QStringLiteral("user-dirs.dirs")));
        ASSERT_TRUE(dirs.open(QIODevice::WriteOnly));
        dirs.write("XDG_PICTURES_DIR=\"" + row.folder.toUtf8() + "\"\n");
        dirs.close();
        EXPECT_TRUE(getMyPicturesPath() == row.expected) << row.folder.size();
    }
    qputenv("XDG_DATA_HOME", savedData);
    qputenv("XDG_CONFIG_HOME", savedConfig);
    if (savedData.isNull())
        qunsetenv("XDG_DATA_HOME");
    if (savedConfig.isNull())
        qunsetenv("XDG_CONFIG_HOME");
}

TEST(getApplicationDataFolderPath, ReadsTheEnvironmentWhenAsked)
{
    const QByteArray saved = qgetenv("XDG_DATA_HOME");
    qputenv("XDG_DATA_HOME", "/tmp/apputils-data");
    EXPECT_EQ(getApplicationDataFolderPath(), QStringLiteral("/tmp/apputils-data"));
    qunsetenv("XDG_DATA_HOME");
    EXPECT_EQ(getApplicationDataFolderPath(), QDir::homePath() + QStringLiteral("/.local/share"));
    if (!saved.isNull())
        qputenv("XDG_DATA_HOME", saved);
}

class fitPath : public ::testing::Test {
 protected:
    static void SetUpTestSuite()
    {
        if (!QGuiApplication::instance()) {
            static int argc = 1;
            static char name[] = "apputils_tests";
            static char* argv[] = {name, nullptr};
            s_app = new QGuiApplication(argc, argv);
        }
    }
    static void TearDownTestSuite()
    {
        delete s_app;
        s_app = nullptr;
    }
    // A rectangle in which `text` is just narrow enough.
    QRect justFits(const QString& text) const { return QRect(0, 0, m_metrics.horizontalAdvance(text) + 3, 20); }

    static QGuiApplication* s_app;
    QFontMetrics m_metrics{QFont(QStringLiteral("DejaVu Sans"), 10)};
};
QGuiApplication* fitPath::s_app = nullptr;

TEST_F(fitPath, ShortensStepByStep)
{
    const QString path = QStringLiteral("/home/ann/Pictures/2024/trip/IMG_0001.JPG");
    const QStringList forms = {
        QStringLiteral("/home/ann/Pictures/2024/trip/IMG_0001.JPG"),
        QStringLiteral("/.../ann/Pictures/2024/trip/IMG_0001.JPG"),
        QStringLiteral("/.../Pictures/2024/trip/IMG_0001.JPG"),
        QStringLiteral("/.../trip/IMG_0001.JPG"),
        QStringLiteral("/.../IMG_0001.JPG"),
        QStringLiteral(".../IMG_0001.JPG"),
        QStringLiteral("...IMG_0001.JPG"),
        QStringLiteral("IMG_0001.JPG"),
    };
    for (const QString& form : forms) {
        QString out;
        EXPECT_EQ(::fitPath(path, out, m_metrics, justFits(form)), form);
        EXPECT_EQ(out, form);
    }
    QString out;
    // "Fits" means narrower than the width less 2 pixels: a text exactly as
    // wide as that is shortened.
    const QRect exact(0, 0, m_metrics.horizontalAdvance(path) + 2, 20);
    EXPECT_EQ(::fitPath(path, out, m_metrics, exact), forms[1]);
    EXPECT_EQ(::fitPath(QStringLiteral("C:\\photos\\a.jpg"), out, m_metrics, QRect(0, 0, 1000, 20)),
              QStringLiteral("C:/photos/a.jpg"));
}

TEST_F(fitPath, CutsTheFileNameWhenNothingElseFits)
{
    QString out;
    const QRect narrow = justFits(QStringLiteral("...0001.JPG"));
    const QString result = ::fitPath(QStringLiteral("/a/IMG_0001.JPG"), out, m_metrics, narrow);
    EXPECT_TRUE(result.startsWith(QStringLiteral("...")));
    EXPECT_TRUE(QStringLiteral("IMG_0001.JPG").endsWith(result.mid(3)));
    EXPECT_LE(m_metrics.horizontalAdvance(result), narrow.width() - 2);
    EXPECT_GE(result.size(), QStringLiteral("...0001.JPG").size()) << "no more is cut than needed";
    EXPECT_EQ(::fitPath(QStringLiteral("/a/b.jpg"), out, m_metrics, QRect(0, 0, 1, 1)), QStringLiteral("..."));
}
