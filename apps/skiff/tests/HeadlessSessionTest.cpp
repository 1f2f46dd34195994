// The host run headless as a script runs it: a real process on a card folder
// made for the test, the plug-in loaded from the stage tree.
#include <gtest/gtest.h>

#include <QCryptographicHash>
#include <QDir>
#include <QMap>
#include <QProcess>
#include <QTemporaryDir>

#include <cerrno>
#include <csignal>
#include <cstring>

#include <sys/mount.h>
#include <unistd.h>

#include "SyntheticRaw.h"
#include "TestCard.h"

namespace {

class HeadlessSession : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(m_dir.isValid()); }

    QString path(const QString& name) const { return m_dir.path() + QLatin1Char('/') + name; }
    QString home() const { return path(QStringLiteral("home")); }
    QString card() const { return path(QStringLiteral("card")); }
    QString dest() const { return path(QStringLiteral("dest")); }

    // A camera card: two JPEGs, a raw file with its sidecar, and a file
    // outside DCIM that is not the download's business.
    void makeCameraCard()
    {
        const QString folder = card() + QStringLiteral("/DCIM/100TEST");
        ASSERT_TRUE(QDir().mkpath(folder) && QDir().mkpath(card() + QStringLiteral("/MISC")));
        ASSERT_TRUE(writeJpeg(folder + QStringLiteral("/IMG_0001.JPG"), 1));
        ASSERT_TRUE(writeJpeg(folder + QStringLiteral("/IMG_0002.JPG"), 2));
        ASSERT_TRUE(writeRaw(folder + QStringLiteral("/IMG_0003.NEF"), 3));
        ASSERT_TRUE(writeBytes(folder + QStringLiteral("/IMG_0003.xmp"), "<x:xmpmeta/>\n"));
        ASSERT_TRUE(writeBytes(card() + QStringLiteral("/MISC/settings.dat"), "camera"));
        for (const QString& name : entries(folder))
            m_originals[name] = readBytes(folder + QLatin1Char('/') + name);
    }

    // Fails unless every file in `folder` is the complete copy of an original
    // of the same name, and nothing hidden (a temporary file) is left there.
    void expectOnlyCompleteCopies(const QString& folder, QMap<QString, QByteArray> originals)
    {
        for (const QString& name : entries(folder)) {
            EXPECT_FALSE(name.startsWith(QLatin1Char('.'))) << name.toStdString();
            ASSERT_TRUE(originals.contains(name)) << name.toStdString();
            EXPECT_EQ(readBytes(folder + QLatin1Char('/') + name), originals[name]) << name.toStdString();
        }
    }

    QTemporaryDir m_dir;
    QMap<QString, QByteArray> m_originals;
};

TEST_F(HeadlessSession, CopiesAndVerifiesEveryItemAndLeavesTheCardAlone)
{
    makeCameraCard();
    const HostRun run = runHost({"--headless", "--card", card(), "--dest", dest()}, home());
    ASSERT_EQ(run.exitCode, 0) << run.out.toStdString() << run.err.toStdString();
    EXPECT_EQ(entries(dest()), QStringList(m_originals.keys()));
    expectOnlyCompleteCopies(dest(), m_originals);
    EXPECT_EQ(entries(card() + QStringLiteral("/DCIM/100TEST")).size(), 4);
    EXPECT_TRUE(run.out.contains(QStringLiteral("[3/4] DCIM/100TEST/IMG_0003.NEF -> IMG_0003.NEF: copied and verified")))
        << run.out.toStdString();
    EXPECT_TRUE(run.out.contains(QStringLiteral("pre-processing ok, post-processing ok")));
    EXPECT_TRUE(run.out.contains(QStringLiteral("end of download: ")));
    EXPECT_TRUE(run.out.contains(QStringLiteral("summary: 4 item(s) on the card, 4 copied and verified, 0 not copied, "
                                                "0 processing failure(s), 0 original(s) deleted")))
        << run.out.toStdString();

    // A second session keeps the first one's files and copies beside them.
    const HostRun again = runHost({"--headless", "--card", card(), "--dest", dest()}, home());
    ASSERT_EQ(again.exitCode, 0) << again.out.toStdString();
    EXPECT_TRUE(again.out.contains(QStringLiteral("IMG_0001.JPG -> IMG_0001_1.JPG")));
    EXPECT_EQ(readBytes(dest() + QStringLiteral("/IMG_0001_1.JPG")), m_originals[QStringLiteral("IMG_0001.JPG")]);
    EXPECT_EQ(entries(dest()).size(), 8);
}

TEST_F(HeadlessSession, BackupCopiesWhenThePreferencesAskForThem)
{
    makeCameraCard();
    const QString backup = path(QStringLiteral("backup"));
    ASSERT_TRUE(QDir().mkpath(backup));
    ASSERT_TRUE(writePreferences(home(), {{QStringLiteral("SaveToSecondaryLocation"), QStringLiteral("1")},
                                          {QStringLiteral("SecondaryLocation"), backup},
                                          {QStringLiteral("Location"), dest()}}));
    // No --dest: the download folder is the one the preferences name.
    const HostRun run = runHost({"--headless", "--card", card()}, home());
    ASSERT_EQ(run.exitCode, 0) << run.out.toStdString() << run.err.toStdString();
    EXPECT_TRUE(run.out.contains(QStringLiteral("status: Creating Backup Copy...")));
    expectOnlyCompleteCopies(dest(), m_originals);
    QStringList backedUp, originals;
    for (const QString& name : entries(backup))
        backedUp << QString::fromLatin1(QCryptographicHash::hash(readBytes(backup + QLatin1Char('/') + name),
                                                                 QCryptographicHash::Sha256).toHex());
    for (const QByteArray& bytes : m_originals)
        originals << QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex());
    backedUp.sort();
    originals.sort();
    EXPECT_EQ(backedUp, originals);
}

TEST_F(HeadlessSession, DngOptionConvertsRawFilesOnly)
{
    makeCameraCard();
    const HostRun run = runHost({"--headless", "--card", card(), "--dest", dest(), "--dng"}, home());
    ASSERT_EQ(run.exitCode, 0) << run.out.toStdString() << run.err.toStdString();
    EXPECT_TRUE(run.out.contains(QStringLiteral("status: Converting to DNG...")));
    EXPECT_TRUE(run.out.contains(QStringLiteral("IMG_0003.NEF: pre-processing ok, post-processing ok, replaced by its conversion")))
        << run.out.toStdString();
    // The sidecar is copied after its raw file and so stays beside the DNG.
    EXPECT_EQ(entries(dest()), (QStringList{QStringLiteral("IMG_0001.JPG"), QStringLiteral("IMG_0002.JPG"),
                                            QStringLiteral("IMG_0003.dng"), QStringLiteral("IMG_0003.xmp")}));
    EXPECT_EQ(readBytes(dest() + QStringLiteral("/IMG_0003.xmp")), m_originals[QStringLiteral("IMG_0003.xmp")]);
    EXPECT_EQ(readBytes(dest() + QStringLiteral("/IMG_0001.JPG")), m_originals[QStringLiteral("IMG_0001.JPG")]);
    const DecodedRaw decoded = decodeWithLibRaw(QFile::encodeName(dest() + QStringLiteral("/IMG_0003.dng")).toStdString());
    EXPECT_TRUE(decoded.ok);
    EXPECT_EQ(decoded.rawWidth, 64u);
}

TEST_F(HeadlessSession, FailedConversionKeepsTheRawCopyAndFailsTheSession)
{
    const QString folder = card() + QStringLiteral("/DCIM/100TEST");
    ASSERT_TRUE(QDir().mkpath(folder));
    ASSERT_TRUE(writeJpeg(folder + QStringLiteral("/IMG_0001.JPG"), 1));
    ASSERT_TRUE(writeBytes(folder + QStringLiteral("/IMG_0004.NEF"), QByteArray(4096, 'r')));
    for (const QString& name : entries(folder))
        m_originals[name] = readBytes(folder + QLatin1Char('/') + name);

    const HostRun run = runHost({"--headless", "--card", card(), "--dest", dest(), "--dng"}, home());
    EXPECT_EQ(run.exitCode, 1) << run.out.toStdString();
    EXPECT_TRUE(run.out.contains(QStringLiteral("  error: Could not convert to DNG...")));
    EXPECT_TRUE(run.out.contains(QStringLiteral("IMG_0004.NEF: pre-processing ok, post-processing failed")))
        << run.out.toStdString();
    EXPECT_TRUE(run.out.contains(QStringLiteral("2 copied and verified, 0 not copied, 1 processing failure(s)")));
    EXPECT_EQ(entries(dest()), QStringList(m_originals.keys()));
    expectOnlyCompleteCopies(dest(), m_originals);
}

// A card of `count` JPEGs; the host is held still after its first item
// while `removed` goes, then let go.
HostRun runWhileRemoving(const QString& card, const QString& dest, const QString& home,
                         int count, const QString& removed, QMap<QString, QByteArray>& originals)
{
    const QString folder = card + QStringLiteral("/DCIM/100TEST");
    QDir().mkpath(folder);
    for (int i = 0; i < count; ++i) {
        const QString name = QStringLiteral("IMG_%1.JPG").arg(i, 4, 10, QLatin1Char('0'));
        EXPECT_TRUE(writeJpeg(folder + QLatin1Char('/') + name, i, 96));
        originals[name] = readBytes(folder + QLatin1Char('/') + name);
    }
    QProcess host;
    host.setProcessEnvironment(hostEnvironment(home));
    host.setWorkingDirectory(QStringLiteral(TESSEL_STAGE_DIR "/bin"));
    host.start(hostProgram(), {"--headless", "--card", card, "--dest", dest});
    HostRun run;
    if (!host.waitForStarted())
        return run;
    const QByteArray first = QStringLiteral("[1/%1]").arg(count).toUtf8();
    QByteArray seen;
    while (!seen.contains(first) && host.waitForReadyRead(30000))
        seen += host.readAllStandardOutput();
    EXPECT_TRUE(seen.contains(first)) << seen.toStdString();
    EXPECT_EQ(::kill(pid_t(host.processId()), SIGSTOP), 0);
    EXPECT_TRUE(QFileInfo(removed).isDir() ? QDir(removed).removeRecursively() : QFile::remove(removed));
    EXPECT_EQ(::kill(pid_t(host.processId()), SIGCONT), 0);
    EXPECT_TRUE(host.waitForFinished(60000));
    run.exitCode = host.exitCode();
    run.out = QString::fromUtf8(seen + host.readAllStandardOutput());
    return run;
}

TEST_F(HeadlessSession, CardRemovedMidSessionStopsWithoutHalfCopies)
{
    const HostRun run = runWhileRemoving(card(), dest(), home(), 120, card(), m_originals);
    EXPECT_EQ(run.exitCode, 1) << run.out.toStdString();
    EXPECT_TRUE(run.out.contains(QStringLiteral("error: the card %1 was removed during the download").arg(card())))
        << run.out.toStdString();
    EXPECT_TRUE(run.out.contains(QStringLiteral("end of download: skipped")));
    const int copied = entries(dest()).size();
    EXPECT_GE(copied, 1);
    EXPECT_LT(copied, 120);
    EXPECT_TRUE(run.out.contains(QStringLiteral("summary: 120 item(s) on the card, %1 copied and verified").arg(copied)))
        << run.out.toStdString();
    expectOnlyCompleteCopies(dest(), m_originals);
}

TEST_F(HeadlessSession, FileVanishingFromAPresentCardFailsThatItemOnly)
{
    const QString last = card() + QStringLiteral("/DCIM/100TEST/IMG_0119.JPG");
    const HostRun run = runWhileRemoving(card(), dest(), home(), 120, last, m_originals);
    EXPECT_EQ(run.exitCode, 1) << run.out.toStdString();
    EXPECT_TRUE(run.out.contains(QStringLiteral("[120/120] DCIM/100TEST/IMG_0119.JPG: not copied: %1 can no longer be read")
                                     .arg(last)))
        << run.out.toStdString();
    EXPECT_TRUE(run.out.contains(QStringLiteral("summary: 120 item(s) on the card, 119 copied and verified, 1 not copied")));
    EXPECT_TRUE(run.out.contains(QStringLiteral("end of download: ")));
    EXPECT_FALSE(run.out.contains(QStringLiteral("end of download: skipped")));
    m_originals.remove(QStringLiteral("IMG_0119.JPG"));
    EXPECT_EQ(entries(dest()), QStringList(m_originals.keys()));
    expectOnlyCompleteCopies(dest(), m_originals);
}

class FullDestination : public HeadlessSession {
protected:
    void TearDown() override
    {
        if (m_mounted)
            ::umount2(QFile::encodeName(dest()).constData(), MNT_DETACH);
    }
    bool m_mounted = false;
};

TEST_F(FullDestination, FillingUpEndsWithAClearMessageAndNoPartialFile)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "mounting a small tmpfs as the destination needs root";
    ASSERT_TRUE(QDir().mkpath(dest()));
    if (::mount("tmpfs", QFile::encodeName(dest()).constData(), "tmpfs", 0, "size=320k") != 0)
        GTEST_SKIP() << "cannot mount a tmpfs here: " << std::strerror(errno);
    m_mounted = true;

    const QString folder = card() + QStringLiteral("/DCIM/100TEST");
    ASSERT_TRUE(QDir().mkpath(folder));
    for (int i = 0; i < 6; ++i) {
        QByteArray bytes(100 * 1024, '\0');
        for (int b = 0; b < bytes.size(); ++b)
            bytes[b] = char((b * 7 + i) & 0xFF);
        const QString name = QStringLiteral("MOV_%1.JPG").arg(i);
        ASSERT_TRUE(writeBytes(folder + QLatin1Char('/') + name, bytes));
        m_originals[name] = bytes;
    }
    const HostRun run = runHost({"--headless", "--card", card(), "--dest", dest()}, home());
    EXPECT_EQ(run.exitCode, 1) << run.out.toStdString();
    EXPECT_TRUE(run.out.contains(QStringLiteral("error: the destination %1 is full").arg(dest()))) << run.out.toStdString();
    EXPECT_TRUE(run.out.contains(QStringLiteral("no original was deleted")));
    const QStringList copied = entries(dest());
    EXPECT_GE(copied.size(), 1);
    EXPECT_LT(copied.size(), 6);
    expectOnlyCompleteCopies(dest(), m_originals);
    EXPECT_EQ(entries(folder).size(), 6);
}

TEST_F(HeadlessSession, CommandLineAndSetUpErrorsAreClear)
{
    struct Row {
        QStringList args;
        int exitCode;
        const char* text;
    };
    ASSERT_TRUE(QDir().mkpath(card()));
    const Row rows[] = {
        {{"--help"}, 0, "usage: skiff"},
        {{"--headless"}, 2, "--headless needs --card DIR"},
        {{"--headless", "--card", path(QStringLiteral("nowhere")), "--dest", dest()}, 1, "does not exist"},
        // Neither --dest nor a stored download location.
        {{"--headless", "--card", card()}, 1, "no download folder"},
        {{"--headless", "--card", card(), "--dest", dest()}, 0, "end of download: skipped, nothing was copied"},
    };
    for (const Row& row : rows) {
        const HostRun run = runHost(row.args, home());
        EXPECT_EQ(run.exitCode, row.exitCode) << row.args.join(' ').toStdString();
        EXPECT_TRUE((run.out + run.err).contains(QLatin1String(row.text))) << (run.out + run.err).toStdString();
    }
}

} // namespace
