// The staged browser as a real process serving "tessel": scripts sent by
// the messaging tool are run and answered, throwing ones answered with an
// error, and SIGTERM ends it with the endpoint released.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <QThread>

#include <signal.h>
#include <sys/wait.h>

namespace {

struct Outcome {
    int status;
    QString out;
};

class BrowserTalkTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(root.isValid());
        for (const char* sub : {"home", "data", "sys", "config", "run"})
            // Private, as a login session's runtime folder is: the messaging
            // system refuses any other and would fall back to a shared one.
            ASSERT_EQ(::mkdir(QDir(root.path()).filePath(QString::fromLatin1(sub)).toLocal8Bit().constData(), 0700), 0);
        env.insert(QStringLiteral("HOME"), root.path() + QStringLiteral("/home"));
        env.insert(QStringLiteral("XDG_DATA_HOME"), root.path() + QStringLiteral("/data"));
        env.insert(QStringLiteral("XDG_DATA_DIRS"), root.path() + QStringLiteral("/sys"));
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), root.path() + QStringLiteral("/config"));
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), root.path() + QStringLiteral("/run"));
        env.remove(QStringLiteral("DISPLAY"));
        env.remove(QStringLiteral("WAYLAND_DISPLAY"));
        env.remove(QStringLiteral("QT_QPA_PLATFORM"));
    }

    void TearDown() override
    {
        if (browser.state() != QProcess::NotRunning) {
            browser.kill();
            browser.waitForFinished();
        }
    }

    void startBrowser()
    {
        browser.setProcessEnvironment(env);
        browser.setProcessChannelMode(QProcess::MergedChannels);
        browser.start(QStringLiteral(TESSEL_PATH), {QStringLiteral("--headless")});
        ASSERT_TRUE(browser.waitForStarted());
        for (int i = 0; i < 100 && !log.contains(QStringLiteral("serving tessel")); ++i) {
            browser.waitForReadyRead(100);
            log += QString::fromUtf8(browser.readAll());
        }
        ASSERT_TRUE(log.contains(QStringLiteral("serving tessel"))) << log.toStdString();
    }

    Outcome tt(const QStringList& args)
    {
        QProcess tool;
        tool.setProcessEnvironment(env);
        tool.setProcessChannelMode(QProcess::MergedChannels);
        tool.start(QStringLiteral(TT_PATH), args);
        tool.waitForFinished(30000);
        return {tool.exitCode(), QString::fromUtf8(tool.readAll())};
    }

    QString browserLog()
    {
        browser.waitForReadyRead(200);
        log += QString::fromUtf8(browser.readAll());
        return log;
    }

    QTemporaryDir root;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    QProcess browser;
    QString log;
};

TEST_F(BrowserTalkTest, AnswersEachScriptWithItsValueOrItsError)
{
    startBrowser();
    struct Row {
        const char* script;
        int status;    // tt's exit status
        const char* answer; // a piece of what tt prints
    } const rows[] = {
        {"var n = 6; n * 7", 0, "42"},
        {"app.beep(); 'done';", 0, "done"},
        {"throw new Error('no such folder')", 1, "error 1: Error: no such folder"},
        {"n + 1", 0, "7"}, // the engine keeps its state across a failed script
    };
    for (const Row& row : rows) {
        const Outcome sent = tt({QStringLiteral("send"), QStringLiteral("tessel"), QString::fromUtf8(row.script),
                                 QStringLiteral("--wait"), QStringLiteral("10")});
        EXPECT_EQ(sent.status, row.status) << row.script << ": " << sent.out.toStdString();
        EXPECT_TRUE(sent.out.contains(QString::fromUtf8(row.answer))) << row.script << ": " << sent.out.toStdString();
        EXPECT_TRUE(browserLog().contains(QStringLiteral("received: ") + QString::fromUtf8(row.script)))
            << log.toStdString();
    }
    EXPECT_TRUE(browserLog().contains(QStringLiteral("app.beep()")));
    EXPECT_TRUE(log.contains(QStringLiteral("answered error: Error: no such folder")));
}

TEST_F(BrowserTalkTest, StatusIsIdleWhilePumpingBusyWhileStalledAndSigtermReleasesTheName)
{
    startBrowser();
    // Busy means not pumping for ten average intervals: let the browser
    // pump a few times first, so that it has an average to compare with.
    QThread::msleep(300);
    const Outcome status = tt({QStringLiteral("ping"), QStringLiteral("tessel")});
    EXPECT_EQ(status.status, 0) << status.out.toStdString();
    EXPECT_TRUE(status.out.contains(QStringLiteral("IDLE"))) << status.out.toStdString();

    const Outcome stalled = tt({QStringLiteral("send"), QStringLiteral("tessel"), QStringLiteral("app.stallFor(3000); 1"),
                                QStringLiteral("--wait"), QStringLiteral("10")});
    ASSERT_EQ(stalled.status, 0) << stalled.out.toStdString();
    QThread::msleep(1500);
    const Outcome busy = tt({QStringLiteral("ping"), QStringLiteral("tessel")});
    EXPECT_TRUE(busy.out.contains(QStringLiteral("BUSY"))) << busy.out.toStdString();
    // A script sent meanwhile waits in the queue and is answered once the
    // browser pumps again.
    const Outcome late = tt({QStringLiteral("send"), QStringLiteral("tessel"), QStringLiteral("'late'"),
                             QStringLiteral("--wait"), QStringLiteral("10")});
    EXPECT_EQ(late.status, 0) << late.out.toStdString();
    EXPECT_TRUE(late.out.contains(QStringLiteral("late")));
    const Outcome idle = tt({QStringLiteral("ping"), QStringLiteral("tessel")});
    EXPECT_TRUE(idle.out.contains(QStringLiteral("IDLE"))) << idle.out.toStdString();

    ::kill(pid_t(browser.processId()), SIGTERM);
    ASSERT_TRUE(browser.waitForFinished(10000));
    EXPECT_EQ(browser.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(browser.exitCode(), 0) << browserLog().toStdString();

    // Nobody holds the name any more: a send without launching is refused.
    const Outcome after = tt({QStringLiteral("send"), QStringLiteral("tessel"), QStringLiteral("1")});
    EXPECT_NE(after.status, 0) << after.out.toStdString();
}

} // namespace
