// A download session end to end, each program a real process in its own
// temporary HOME and XDG folders: makecard's card, the host headless with
// backups, DNG conversion, deletion and the hand-off to the browser, and
// the staged browser registered under its stage path.
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>

#include <signal.h>

namespace {

const QString kStage = QStringLiteral(TESSEL_STAGE_DIR);

QStringList files(const QString& folder)
{
    return QDir(folder).entryList(QDir::Files | QDir::Hidden, QDir::Name);
}

struct Session {
    int exitCode = -1;
    QString out;
};

class DownloadSession : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(root.isValid());
        for (const char* sub : {"home", "config", "data", "sys", "run", "backup"})
            ASSERT_TRUE(QDir(root.path()).mkdir(QString::fromLatin1(sub)));
        QFile::setPermissions(path("run"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        // A folder name with a backslash: the script must carry it doubled.
        dest = path("Import\\2024");
        ASSERT_TRUE(QDir().mkpath(dest));
        env.insert(QStringLiteral("HOME"), path("home"));
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), path("config"));
        env.insert(QStringLiteral("XDG_DATA_HOME"), path("data"));
        env.insert(QStringLiteral("XDG_DATA_DIRS"), path("sys"));
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), path("run"));
        // Without a display the launched browser runs headless.
        for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
            env.remove(QString::fromLatin1(name));
        writePreferences();
        // Registers the staged browser under its own path, then exits.
        ASSERT_EQ(run(kStage + QStringLiteral("/bin/tessel"), {"--headless", "--script", "1"}), 0);
        ASSERT_EQ(run(kStage + QStringLiteral("/bin/makecard"), {card()}), 0);
        cardFiles = files(cardFolder());
        ASSERT_EQ(cardFiles.size(), 7) << cardFiles.join(' ').toStdString();
    }

    void TearDown() override
    {
        for (qint64 pid : launched)
            ::kill(pid_t(pid), SIGKILL);
        if (browser.state() != QProcess::NotRunning) {
            browser.kill();
            browser.waitForFinished();
        }
    }

    QString path(const char* name) const { return root.path() + QLatin1Char('/') + QString::fromUtf8(name); }
    QString card() const { return path("card"); }
    QString cardFolder() const { return card() + QStringLiteral("/DCIM/100CORVA"); }

    // The shipped defaults with the backup folder switched on, as a user
    // would have saved them.
    void writePreferences()
    {
        QFile defaults(kStage + QStringLiteral("/Resources/Preferences.xml"));
        ASSERT_TRUE(defaults.open(QIODevice::ReadOnly));
        QString text = QString::fromUtf8(defaults.readAll());
        const QList<QPair<QString, QString>> values = {
            {QStringLiteral("SaveToSecondaryLocation"), QStringLiteral("1")},
            {QStringLiteral("SecondaryLocation"), path("backup")},
        };
        for (const auto& [key, value] : values) {
            const QString open = QStringLiteral("<value key=\"%1\" type=\"text\">").arg(key);
            const int at = text.indexOf(open);
            ASSERT_GE(at, 0) << key.toStdString();
            const int start = at + open.size();
            text.replace(start, text.indexOf(QLatin1Char('<'), start) - start, value.toHtmlEscaped());
        }
        const QString folder = path("data") + QStringLiteral("/Corvane/Tessel 2024");
        ASSERT_TRUE(QDir().mkpath(folder));
        QFile prefs(folder + QStringLiteral("/Preferences.xml"));
        ASSERT_TRUE(prefs.open(QIODevice::WriteOnly));
        prefs.write(text.toUtf8());
    }

    int run(const QString& program, const QStringList& args)
    {
        QProcess process;
        process.setProcessEnvironment(env);
        process.start(program, args);
        return process.waitForFinished(60000) ? process.exitCode() : -1;
    }

    // The host's whole session; with corruptFirst, the first copy is
    // overwritten while the host is held still, before it may delete.
    Session runSession(bool corruptFirst)
    {
        QProcess host;
        host.setProcessEnvironment(env);
        host.setProcessChannelMode(QProcess::MergedChannels);
        host.setWorkingDirectory(kStage + QStringLiteral("/bin"));
        host.start(kStage + QStringLiteral("/bin/skiff"),
                   {"--headless", "--card", card(), "--dest", dest, "--dng", "--delete", "--answer", "yes",
                    "--open-browser"});
        Session session;
        if (!host.waitForStarted())
            return session;
        const QString first = QStringLiteral("-> IMG_0001.JPG: copied and verified");
        if (corruptFirst) {
            while (!session.out.contains(first) && host.waitForReadyRead(30000))
                session.out += QString::fromUtf8(host.readAll());
            EXPECT_TRUE(session.out.contains(first)) << session.out.toStdString();
            EXPECT_EQ(::kill(pid_t(host.processId()), SIGSTOP), 0);
            QFile copy(dest + QStringLiteral("/IMG_0001.JPG"));
            EXPECT_TRUE(copy.open(QIODevice::ReadWrite));
            copy.write("not the picture any more");
            copy.close();
            EXPECT_EQ(::kill(pid_t(host.processId()), SIGCONT), 0);
        }
        // The launched browser inherits our end of the pipe, so the end of
        // the host is its exit, not the end of its output.
        while (host.state() != QProcess::NotRunning) {
            host.waitForReadyRead(200);
            session.out += QString::fromUtf8(host.readAll());
        }
        session.out += QString::fromUtf8(host.readAll());
        session.exitCode = host.exitStatus() == QProcess::NormalExit ? host.exitCode() : -1;
        const QRegularExpression serving(QStringLiteral("serving tessel as process (\\d+)"));
        for (auto it = serving.globalMatch(session.out); it.hasNext();)
            launched << it.next().captured(1).toLongLong();
        return session;
    }

    // The browser already running, started by the test.
    void startBrowser()
    {
        browser.setProcessEnvironment(env);
        browser.setProcessChannelMode(QProcess::MergedChannels);
        browser.start(kStage + QStringLiteral("/bin/tessel"), {QStringLiteral("--headless")});
        ASSERT_TRUE(browser.waitForStarted());
        waitBrowserLog(QStringLiteral("serving tessel"));
    }

    bool waitBrowserLog(const QString& text, int ms = 10000)
    {
        for (int i = 0; i < ms / 100 && !browserLog.contains(text); ++i) {
            browser.waitForReadyRead(100);
            browserLog += QString::fromUtf8(browser.readAll());
        }
        return browserLog.contains(text);
    }

    QString ping()
    {
        QProcess tool;
        tool.setProcessEnvironment(env);
        tool.start(kStage + QStringLiteral("/bin/tt"), {QStringLiteral("ping"), QStringLiteral("tessel")});
        tool.waitForFinished(10000);
        return QString::fromUtf8(tool.readAll()).trimmed();
    }

    // The files, backups and DNGs every session leaves, whatever the browser did.
    void expectDownloaded(const Session& session)
    {
        EXPECT_EQ(session.exitCode, 0) << session.out.toStdString();
        EXPECT_EQ(files(dest), QStringList({"IMG_0001.JPG", "IMG_0002.JPG", "IMG_0003.JPG", "IMG_0004.JPG",
                                            "IMG_0005.dng", "IMG_0005.xmp", "IMG_0006.dng"}));
        for (const char* name : {"IMG_0002.JPG", "IMG_0005.NEF", "IMG_0006.NEF", "IMG_0005.xmp"})
            EXPECT_TRUE(QFile::exists(path("backup") + QLatin1Char('/') + QString::fromLatin1(name))) << name;
        const QString exiftool = QStandardPaths::findExecutable(QStringLiteral("exiftool"));
        for (const char* dng : {"IMG_0005.dng", "IMG_0006.dng"}) {
            if (exiftool.isEmpty())
                break;
            QProcess check;
            check.start(exiftool, {"-validate", "-warning", "-a", dest + QLatin1Char('/') + QString::fromLatin1(dng)});
            ASSERT_TRUE(check.waitForFinished(60000));
            const QString report = QString::fromUtf8(check.readAll());
            EXPECT_TRUE(report.contains(QRegularExpression(QStringLiteral("Validate\\s*:\\s*OK"))))
                << dng << ": " << report.toStdString();
        }
        EXPECT_TRUE(session.out.contains(QStringLiteral("end of download: done"))) << session.out.toStdString();
    }

    QString doubledDest() const { return QString(dest).replace(QLatin1Char('\\'), QStringLiteral("\\\\")); }

    QTemporaryDir root;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    QString dest;
    QStringList cardFiles;
    QList<qint64> launched;
    QProcess browser;
    QString browserLog;
};

TEST_F(DownloadSession, LaunchesTheBrowserOnceAndDeletesOnlyVerifiedOriginals)
{
    const Session session = runSession(true);
    expectDownloaded(session);

    // The corrupted copy keeps its original; raw files whose copies became
    // DNGs are kept too; the rest is gone from the card.
    EXPECT_EQ(files(cardFolder()), QStringList({"IMG_0001.JPG", "IMG_0005.NEF", "IMG_0006.NEF"}))
        << session.out.toStdString();
    EXPECT_TRUE(session.out.contains(QStringLiteral("kept original: DCIM/100CORVA/IMG_0001.JPG")));

    ASSERT_EQ(launched.size(), 1) << session.out.toStdString();
    EXPECT_TRUE(session.out.contains(QStringLiteral("received: if (app.documents.length == 0) app.skiffBrowseTo (\"") +
                                     doubledDest() + QStringLiteral("\"); else {")))
        << session.out.toStdString();
    EXPECT_TRUE(session.out.contains(QStringLiteral("skiffBrowseTo ") + dest + QLatin1Char('\n')));
    EXPECT_TRUE(session.out.contains(QStringLiteral("answered result: done")));
}

TEST_F(DownloadSession, RunningBrowserIsSentTheShortScriptAndNothingIsLaunched)
{
    startBrowser();
    const Session session = runSession(false);
    expectDownloaded(session);
    EXPECT_EQ(files(cardFolder()), QStringList({"IMG_0005.NEF", "IMG_0006.NEF"}));
    EXPECT_TRUE(launched.isEmpty()) << session.out.toStdString();
    EXPECT_TRUE(waitBrowserLog(QStringLiteral("received:  app.skiffBrowseTo (\"") + doubledDest() +
                               QStringLiteral("\");  app.beep() ;'done';")))
        << browserLog.toStdString();
    // The plug-in waits for the answer, so the browser gave it before the
    // host ended.
    EXPECT_TRUE(waitBrowserLog(QStringLiteral("answered result: done"), 1000)) << browserLog.toStdString();
}

TEST_F(DownloadSession, BusyBrowserGetsTheScriptOnceItPumpsAgain)
{
    startBrowser();
    // Busy is measured against the average pump interval: give the browser
    // a few pumps to have one before it stalls.
    QThread::msleep(300);
    QProcess stall;
    stall.setProcessEnvironment(env);
    stall.start(kStage + QStringLiteral("/bin/tt"),
                {"send", "tessel", "app.stallFor(6000); 1", "--wait", "10"});
    ASSERT_TRUE(stall.waitForFinished(15000));
    ASSERT_EQ(stall.exitCode(), 0);
    QThread::msleep(1000);
    ASSERT_EQ(ping(), QStringLiteral("BUSY"));

    const Session session = runSession(false);
    expectDownloaded(session);
    EXPECT_TRUE(launched.isEmpty()) << session.out.toStdString();
    EXPECT_TRUE(waitBrowserLog(QStringLiteral("received:  app.skiffBrowseTo (\"") + doubledDest()))
        << browserLog.toStdString();
    EXPECT_TRUE(waitBrowserLog(QStringLiteral("answered result: done"), 1000)) << browserLog.toStdString();
    EXPECT_EQ(ping(), QStringLiteral("IDLE"));
}

} // namespace
