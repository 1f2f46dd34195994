// The card writer on real folders: what it writes must be what a camera card
// holds and what the host and the converter read.
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <QXmlStreamReader>

#include "CameraCard.h"
#include "SyntheticRaw.h"

namespace {

QStringList filesUnder(const QString& folder)
{
    QStringList files;
    const QDir root(folder);
    for (const QString& sub : root.entryList({}, QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden))
        for (const QString& file : filesUnder(folder + QLatin1Char('/') + sub))
            files << sub + QLatin1Char('/') + file;
    files << root.entryList(QDir::Files | QDir::Hidden | QDir::System, QDir::Name);
    files.sort();
    return files;
}

QByteArray contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

class CameraCardTest : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        static int argc = 1;
        static char name[] = "makecard_tests";
        static char* argv[] = {name, nullptr};
        if (!QGuiApplication::instance())
            new QGuiApplication(argc, argv);
    }
    QString card() const { return m_dir.path() + QStringLiteral("/card"); }
    QTemporaryDir m_dir;
};

TEST_F(CameraCardTest, WritesDecodableImagesWithOneSidecar)
{
    CardLayout layout;
    layout.jpegs = 2;
    layout.raws = 2;
    layout.rawWidth = 48;
    layout.rawHeight = 32;
    const CardResult result = writeCameraCard(card(), layout);
    ASSERT_TRUE(result.ok) << result.error.toStdString();
    const QStringList expected{"DCIM/100CORVA/IMG_0001.JPG", "DCIM/100CORVA/IMG_0002.JPG", "DCIM/100CORVA/IMG_0003.NEF",
                               "DCIM/100CORVA/IMG_0003.xmp", "DCIM/100CORVA/IMG_0004.NEF"};
    EXPECT_EQ(result.files, expected);
    EXPECT_EQ(filesUnder(card()), expected);

    const QImage first(card() + QStringLiteral("/DCIM/100CORVA/IMG_0001.JPG"), "JPG");
    const QImage second(card() + QStringLiteral("/DCIM/100CORVA/IMG_0002.JPG"), "JPG");
    ASSERT_FALSE(first.isNull());
    EXPECT_EQ(first.size(), QSize(640, 480));
    EXPECT_NE(first, second);

    std::vector<std::uint16_t> previous;
    for (const char* name : {"IMG_0003.NEF", "IMG_0004.NEF"}) {
        const DecodedRaw raw = decodeWithLibRaw(
            QFile::encodeName(card() + QStringLiteral("/DCIM/100CORVA/") + QLatin1String(name)).toStdString());
        ASSERT_TRUE(raw.ok) << name;
        EXPECT_EQ(raw.rawWidth, 48u);
        EXPECT_EQ(raw.rawHeight, 32u);
        EXPECT_NE(raw.raw, previous) << name << " repeats the pixels of the raw file before it";
        previous = raw.raw;
    }

    QXmlStreamReader xmp(contents(card() + QStringLiteral("/DCIM/100CORVA/IMG_0003.xmp")));
    QString title;
    while (!xmp.atEnd())
        if (xmp.readNext() == QXmlStreamReader::StartElement && xmp.name() == QLatin1String("li"))
            title = xmp.readElementText();
    EXPECT_FALSE(xmp.hasError()) << xmp.errorString().toStdString();
    EXPECT_EQ(title, QStringLiteral("IMG_0003.NEF"));
}

TEST_F(CameraCardTest, SeedChangesThePixels)
{
    CardLayout layout;
    layout.jpegs = 1;
    layout.raws = 1;
    layout.rawWidth = layout.rawHeight = 16;
    ASSERT_TRUE(writeCameraCard(card(), layout).ok);
    layout.seed = 2;
    const QString other = m_dir.path() + QStringLiteral("/other");
    ASSERT_TRUE(writeCameraCard(other, layout).ok);
    for (const char* name : {"/DCIM/100CORVA/IMG_0001.JPG", "/DCIM/100CORVA/IMG_0002.NEF"})
        EXPECT_NE(contents(card() + QLatin1String(name)), contents(other + QLatin1String(name))) << name;
}

TEST_F(CameraCardTest, NeverWritesOverExistingFiles)
{
    ASSERT_TRUE(QDir().mkpath(card()));
    QFile mine(card() + QStringLiteral("/.mine"));
    ASSERT_TRUE(mine.open(QIODevice::WriteOnly) && mine.write("keep") == 4);
    mine.close();
    const CardResult result = writeCameraCard(card(), CardLayout());
    EXPECT_FALSE(result.ok);
    EXPECT_TRUE(result.error.contains(QStringLiteral("not empty"))) << result.error.toStdString();
    EXPECT_EQ(filesUnder(card()), QStringList{".mine"});
    EXPECT_EQ(contents(card() + QStringLiteral("/.mine")), QByteArray("keep"));

    const QString file = m_dir.path() + QStringLiteral("/plain");
    ASSERT_TRUE(QFile::copy(card() + QStringLiteral("/.mine"), file));
    EXPECT_FALSE(writeCameraCard(file, CardLayout()).ok);
    EXPECT_EQ(contents(file), QByteArray("keep"));
}

TEST_F(CameraCardTest, WritesIntoAnEmptyFolder)
{
    ASSERT_TRUE(QDir().mkpath(card()));
    CardLayout layout;
    layout.jpegs = 0;
    layout.raws = 1;
    layout.rawWidth = layout.rawHeight = 16;
    const CardResult result = writeCameraCard(card(), layout);
    ASSERT_TRUE(result.ok) << result.error.toStdString();
    EXPECT_EQ(filesUnder(card()), (QStringList{"DCIM/100CORVA/IMG_0001.NEF", "DCIM/100CORVA/IMG_0001.xmp"}));
}

TEST(CardLayoutTest, LimitsAreInclusive)
{
    struct Case {
        int jpegs, raws, width, height;
        bool valid;
    };
    const Case cases[] = {
        {1, 0, 16, 16, true},       {0, 1, 16, 16, true},     {0, 0, 16, 16, false},
        {-1, 2, 16, 16, false},     {9998, 1, 16, 16, true},  {9999, 1, 16, 16, false},
        {1, 1, 14, 16, false},      {1, 1, 16, 14, false},    {1, 1, 17, 16, false},
        {1, 1, 16, 17, false},
        {1, 1, 8192, 8192, true},   {1, 1, 8194, 16, false},
    };
    for (const Case& c : cases) {
        CardLayout layout;
        layout.jpegs = c.jpegs;
        layout.raws = c.raws;
        layout.rawWidth = c.width;
        layout.rawHeight = c.height;
        EXPECT_EQ(validateLayout(layout).isEmpty(), c.valid)
            << c.jpegs << " jpegs, " << c.raws << " raws, " << c.width << "x" << c.height;
    }
}

TEST(MakecardProgram, ExitStatusNamesTheProblem)
{
    QTemporaryDir dir;
    const QString card = dir.path() + QStringLiteral("/card");
    struct Case {
        QStringList arguments;
        int status;
        const char* says;
    };
    const Case cases[] = {
        {{"--help"}, 0, "usage: makecard"},
        {{}, 2, "FOLDER is missing"},
        {{"--jpegs", "x", card}, 2, "not a valid value"},
        {{"--raw-size", "15x16", card}, 2, "must be even"},
        {{"--raws"}, 2, "needs a value"},
        {{"--jpegs", "0", "--raws", "0", card}, 2, "at least one file"},
        {{"--jpegs", "1", "--raws", "1", "--raw-size", "16x16", card}, 0, "DCIM/100CORVA/IMG_0002.NEF"},
        {{card}, 1, "not empty"},
    };
    for (const Case& c : cases) {
        QProcess process;
        process.start(QStringLiteral(MAKECARD_PATH), c.arguments);
        ASSERT_TRUE(process.waitForFinished(60000));
        const QString output = QString::fromUtf8(process.readAllStandardOutput() + process.readAllStandardError());
        EXPECT_EQ(process.exitCode(), c.status) << c.arguments.join(' ').toStdString();
        EXPECT_TRUE(output.contains(QLatin1String(c.says))) << output.toStdString();
    }
}

} // namespace
