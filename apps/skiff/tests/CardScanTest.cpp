// What the host finds on a card, and what it makes of its command line.
#include <gtest/gtest.h>

#include <QDir>
#include <QTemporaryDir>

#include "CardScan.h"
#include "CommandLine.h"
#include "TestCard.h"

namespace {

QStringList names(const CardScan& scan, const QString& root)
{
    QStringList out;
    for (const CardItem& item : scan.items)
        out << QDir(root).relativeFilePath(item.sourcePath);
    return out;
}

bool touch(const QString& path)
{
    return QDir().mkpath(QFileInfo(path).absolutePath()) && writeBytes(path, "x");
}

const FormatFilter kImages = FormatFilter::fromExtensions({QStringLiteral("jpg"), QStringLiteral("nef")});

TEST(CardScan, CameraCardIsReadFromItsDcimFolderOnly)
{
    QTemporaryDir dir;
    for (const char* name : {"DCIM/101CAMRA/IMG_0002.JPG", "DCIM/100CAMRA/IMG_0001.jpg", "DCIM/100CAMRA/IMG_0001.NEF",
                             "DCIM/100CAMRA/IMG_0001.xmp", "DCIM/.trash/IMG_0000.JPG", "DCIM/100CAMRA/.hidden.jpg",
                             "MISC/camera.jpg"})
        ASSERT_TRUE(touch(dir.path() + QLatin1Char('/') + QLatin1String(name)));
    const CardScan scan = scanCard(dir.path(), kImages);
    ASSERT_TRUE(scan.ok);
    EXPECT_EQ(names(scan, dir.path()),
              (QStringList{QStringLiteral("DCIM/100CAMRA/IMG_0001.NEF"), QStringLiteral("DCIM/100CAMRA/IMG_0001.jpg"),
                           QStringLiteral("DCIM/101CAMRA/IMG_0002.JPG")}));
    EXPECT_EQ(scan.skipped, 1); // the sidecar
}

TEST(CardScan, AnyFolderIsReadWholeAndAnyFileEntryTakesEverything)
{
    QTemporaryDir dir;
    for (const char* name : {"a.jpg", "sub/b.jpg", "notes.txt", "noext"})
        ASSERT_TRUE(touch(dir.path() + QLatin1Char('/') + QLatin1String(name)));
    const CardScan images = scanCard(dir.path(), kImages);
    EXPECT_EQ(names(images, dir.path()), (QStringList{QStringLiteral("a.jpg"), QStringLiteral("sub/b.jpg")}));
    EXPECT_EQ(images.skipped, 2);
    const CardScan all = scanCard(dir.path(), FormatFilter::fromExtensions({QStringLiteral("*")}));
    EXPECT_EQ(all.items.size(), 4u);
}

TEST(CardScan, MissingCardIsAnError)
{
    QTemporaryDir dir;
    const CardScan scan = scanCard(dir.path() + QStringLiteral("/gone"), kImages);
    EXPECT_FALSE(scan.ok);
    EXPECT_TRUE(scan.error.contains(QStringLiteral("does not exist"))) << scan.error.toStdString();
}

TEST(CommandLine, ParsesSessionsAndRefusesWhatItCannotUse)
{
    struct Row {
        QStringList args;
        bool ok;
        const char* errorPart;
    };
    const Row rows[] = {
        {{}, true, ""},
        {{"--report", "--location", "/media/card"}, true, ""},
        {{"--headless", "--card", "/c", "--dest", "/d", "--answer", "yes", "--dng", "--delete", "--open-browser"}, true, ""},
        {{"--headless"}, false, "--card"},
        {{"--headless", "--card"}, false, "needs a value"},
        {{"--headless", "--card", "/c", "--answer", "maybe"}, false, "yes or no"},
        {{"--card", "/c"}, false, "--headless"},
        {{"--frobnicate"}, false, "unknown argument --frobnicate"},
    };
    for (const Row& row : rows) {
        const ParsedCommandLine parsed = parseCommandLine(row.args);
        EXPECT_EQ(parsed.ok, row.ok) << row.args.join(' ').toStdString();
        EXPECT_TRUE(parsed.error.contains(QLatin1String(row.errorPart))) << parsed.error.toStdString();
    }
    const CommandLine full = parseCommandLine(rows[2].args).options;
    EXPECT_EQ(full.mode, CommandLine::Mode::Headless);
    EXPECT_EQ(full.card, QStringLiteral("/c"));
    EXPECT_EQ(full.dest, QStringLiteral("/d"));
    EXPECT_EQ(full.answer, CommandLine::Answer::Yes);
    EXPECT_TRUE(full.dng && full.deleteOriginals && full.openBrowser);
    const CommandLine plain = parseCommandLine({"--headless", "--card", "/c"}).options;
    EXPECT_EQ(plain.answer, CommandLine::Answer::Unset);
    EXPECT_FALSE(plain.dng || plain.deleteOriginals || plain.openBrowser);
    EXPECT_EQ(parseCommandLine({"--dng", "--help"}).options.mode, CommandLine::Mode::Help);
}

} // namespace
