// Registration in a per-user registry under a temporary XDG_DATA_HOME, by
// the function and by the staged program on its first run.
#include <gtest/gtest.h>

#include "SelfRegistration.h"
#include "Specifier.h"
#include "TesselTalkConnector.h"

#include <QDir>
#include <QFileInfo>
#include <QMap>
#include <QProcess>
#include <QTemporaryDir>

#include <cstdlib>

namespace {

class SelfRegistrationTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(root.isValid());
        for (const char* name : {"HOME", "XDG_DATA_HOME", "XDG_DATA_DIRS"})
            saved.insert(name, qgetenv(name));
        qputenv("HOME", root.path().toUtf8());
        qputenv("XDG_DATA_HOME", (root.path() + "/data").toUtf8());
        qputenv("XDG_DATA_DIRS", (root.path() + "/system").toUtf8());
    }
    void TearDown() override
    {
        for (auto it = saved.cbegin(); it != saved.cend(); ++it)
            it.value().isNull() ? qunsetenv(it.key().constData()) : qputenv(it.key().constData(), it.value());
    }
    static QString registeredPath()
    {
        ScObjects::TesselTalkConnector connector{ScObjects::SoString("default")};
        return QString::fromUtf8(connector.getApplicationPath(ScObjects::SoString("tessel")).c_str());
    }

    QTemporaryDir root;
    QMap<QByteArray, QByteArray> saved;
};

TEST_F(SelfRegistrationTest, RegistersOnceAndNeverReplacesARecord)
{
    EXPECT_EQ(registerIfMissing(QStringLiteral("/opt/tessel/bin/tessel")), Registration::Registered);
    EXPECT_EQ(registeredPath(), QStringLiteral("/opt/tessel/bin/tessel"));
    EXPECT_TRUE(QDir(root.path() + "/data/corvane/tesseltalk").exists());
    EXPECT_EQ(registerIfMissing(QStringLiteral("/elsewhere/tessel")), Registration::AlreadyRegistered);
    EXPECT_EQ(registeredPath(), QStringLiteral("/opt/tessel/bin/tessel"));
}

TEST_F(SelfRegistrationTest, StagedProgramRegistersItselfAndLogsEachCall)
{
    const QString program = QStringLiteral(TESSEL_STAGE_DIR "/bin/tessel");
    QProcess tessel;
    tessel.start(program, {"--headless", "--script", "app.beep(); app.documents.length; 'done';", "--script",
                           "app.skiffBrowseTo('" + root.path() + "/none'); 'done';"});
    ASSERT_TRUE(tessel.waitForFinished(20000));
    EXPECT_EQ(tessel.exitCode(), 1) << tessel.readAllStandardError().toStdString();
    EXPECT_EQ(QString::fromUtf8(tessel.readAllStandardOutput()),
              "beep\ndocuments.length 0\nresult: done\nerror: Error: skiffBrowseTo: not a folder: " + root.path()
                  + "/none\n");
    EXPECT_EQ(registeredPath(), QFileInfo(program).canonicalFilePath());
}

TEST_F(SelfRegistrationTest, StagedProgramRefusesAnUnreadableScriptFile)
{
    QProcess tessel;
    tessel.start(QStringLiteral(TESSEL_STAGE_DIR "/bin/tessel"),
                 {"--headless", "--script", "app.beep()", "--run-script", root.path() + "/missing.js"});
    ASSERT_TRUE(tessel.waitForFinished(20000));
    EXPECT_EQ(tessel.exitCode(), 2);
    EXPECT_TRUE(tessel.readAllStandardOutput().isEmpty());
    EXPECT_TRUE(tessel.readAllStandardError().contains("cannot read"));
}

} // namespace
