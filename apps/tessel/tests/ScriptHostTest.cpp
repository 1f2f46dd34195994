// Scripts run as the plug-in sends them: built by the plug-in's own code,
// with "'done';" appended, against a real folder whose name holds a
// backslash and non-ASCII text.
#include <gtest/gtest.h>

#include "EndOfDownloadScript.h"
#include "ScriptApp.h"
#include "ScriptHost.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QThread>

namespace {

const QString kDone = QStringLiteral("'done';");

struct Session {
    explicit Session(const QString& hostProgram = QStringLiteral("/nonexistent/skiff"),
                     std::chrono::milliseconds bound = ScriptHost::kDefaultBound)
        : app(hostProgram), host(app, bound)
    {
        QObject::connect(&app, &ScriptApp::called, [this](const QString& line) { log << line; });
    }
    ScriptApp app;
    ScriptHost host;
    QStringList log;
};

class ScriptHostTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(root.isValid());
        folder = root.path() + QStringLiteral("/Import\\2024 Été 写真");
        other = root.path() + QStringLiteral("/earlier");
        ASSERT_TRUE(QDir().mkpath(folder));
        ASSERT_TRUE(QDir().mkpath(other));
    }
    QTemporaryDir root;
    QString folder;
    QString other;
};

TEST_F(ScriptHostTest, EndOfDownloadScriptsHaveTheirEffect)
{
    const QString status = QStringLiteral("12 Dateien übertragen \"nach\" Ordner");
    struct Row {
        const char* name;
        bool running, open;
        bool documentOpen; // a folder shown before the script
        QString wantFolder, wantStatus, wantThumbnail;
        int wantRaises;
        QStringList wantLog;
    };
    const QString escapedStatus = QString(status).replace(QLatin1Char('"'), QLatin1String("\\\""));
    const Row rows[] = {
        {"running, open", true, true, false, folder, {}, {}, 0, {"skiffBrowseTo " + folder, "beep"}},
        {"running, not open", true, false, false, {}, status, {}, 0, {"beep", "document.status " + status}},
        {"launched, no document", false, true, false, folder, {}, {}, 0,
         {"documents.length 0", "skiffBrowseTo " + folder, "beep"}},
        {"launched, a document open", false, true, true, folder, {}, folder, 1,
         {"documents.length 1", "document.thumbnail " + folder, "document.bringToFront", "beep"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Session session;
        if (row.documentOpen) {
            ASSERT_TRUE(session.host.run(QStringLiteral("app.skiffBrowseTo(\"%1\")").arg(other)).ok);
        }
        session.log.clear();
        // The pipeline's status text goes in as it stands; a quote in it
        // would end the literal, so this one is escaped for the test.
        const QString script =
            endOfDownloadScript(row.running, row.open, escapeBackslashes(folder), escapedStatus) + kDone;
        const ScriptResult result = session.host.run(script);
        EXPECT_TRUE(result.ok) << result.text.toStdString();
        EXPECT_EQ(result.text, QStringLiteral("done"));
        EXPECT_EQ(session.app.folder(), row.documentOpen && row.wantFolder.isEmpty() ? other : row.wantFolder);
        EXPECT_EQ(session.app.status(), row.wantStatus);
        EXPECT_EQ(session.app.thumbnailPath(), row.wantThumbnail);
        EXPECT_EQ(session.app.beepCount(), 1);
        EXPECT_EQ(session.app.raiseCount(), row.wantRaises);
        EXPECT_EQ(session.log, row.wantLog);
    }
}

TEST_F(ScriptHostTest, InvokeHostAppScriptStartsTheHostDetachedAndRaises)
{
    const QString marker = root.path() + QStringLiteral("/host-started");
    const QString program = root.path() + QStringLiteral("/skiff");
    QFile file(program);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QStringLiteral("#!/bin/sh\npwd > '%1'\n").arg(marker).toUtf8());
    file.close();
    ASSERT_TRUE(file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));

    Session session(program);
    const ScriptResult result =
        session.host.run(QStringLiteral("{ app.runSkiff();") + QStringLiteral("app.document.bringToFront (); }") + kDone);
    EXPECT_TRUE(result.ok) << result.text.toStdString();
    EXPECT_EQ(result.text, QStringLiteral("done"));
    EXPECT_EQ(session.app.raiseCount(), 1);
    EXPECT_EQ(session.log, QStringList({"runSkiff " + program, "document.bringToFront"}));

    QElapsedTimer waited;
    waited.start();
    while (!QFileInfo::exists(marker) && waited.elapsed() < 5000)
        QThread::msleep(20);
    QFile started(marker);
    ASSERT_TRUE(started.open(QIODevice::ReadOnly)) << "the host never ran";
    // The host runs in its own folder, where its relative paths resolve.
    EXPECT_EQ(QString::fromUtf8(started.readAll()).trimmed(), QFileInfo(root.path()).canonicalFilePath());
}

TEST_F(ScriptHostTest, FailingScriptsGiveTheirErrorAndChangeNothing)
{
    const struct {
        QString script;
        QString error;
    } rows[] = {
        {"throw new Error('card gone');" + kDone, "Error: card gone"},
        {"throw 'plain text';" + kDone, "plain text"},
        {"app.skiffBrowseTo(\"" + root.path() + "/missing\");" + kDone,
         "Error: skiffBrowseTo: not a folder: " + root.path() + "/missing"},
        {"app.document.thumbnail = \"" + escapeBackslashes(folder) + "\";" + kDone, "Error: Cannot assign QString"},
        {"app.document.thumbnail = app.document;" + kDone, "Error: document.thumbnail takes a Thumbnail"},
        {"app.document.thumbnail = new Thumbnail(\"" + root.path() + "/missing/x.jpg\");" + kDone,
         "Error: document.thumbnail: not a folder: " + root.path() + "/missing"},
        {"app.runSkiff();" + kDone, "Error: runSkiff could not start /nonexistent/skiff"},
        {"app.noSuchCall();" + kDone, "TypeError: Property 'noSuchCall' of object ScriptApp"},
        {"app.skiffBrowseTo (\"" + folder, "SyntaxError"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.script.toStdString());
        Session session;
        const ScriptResult result = session.host.run(row.script);
        EXPECT_FALSE(result.ok);
        EXPECT_TRUE(result.text.startsWith(row.error)) << result.text.toStdString();
        EXPECT_TRUE(session.app.folder().isEmpty());
        EXPECT_TRUE(session.app.thumbnailPath().isEmpty());
        EXPECT_EQ(session.app.raiseCount(), 0);
    }
}

TEST_F(ScriptHostTest, CaughtErrorIsAnOrdinaryResult)
{
    Session session;
    const ScriptResult result = session.host.run(QStringLiteral("try { null.x; } catch (e) { e; }"));
    EXPECT_TRUE(result.ok);
    EXPECT_EQ(result.text, QStringLiteral("TypeError: Cannot read property 'x' of null"));
}

TEST_F(ScriptHostTest, LoopingScriptIsStoppedAtTheBoundAndTheEngineGoesOn)
{
    Session session(QString(), std::chrono::milliseconds(300));
    QElapsedTimer clock;
    clock.start();
    const ScriptResult looped = session.host.run(QStringLiteral("app.beep(); while (true) {} 'done';"));
    const qint64 elapsed = clock.elapsed();
    EXPECT_FALSE(looped.ok);
    EXPECT_EQ(looped.text, QStringLiteral("stopped after 300 ms"));
    EXPECT_GE(elapsed, 300);
    EXPECT_LT(elapsed, 3000);

    const ScriptResult next = session.host.run(QStringLiteral("app.beep(); app.documents.length + 2"));
    EXPECT_TRUE(next.ok);
    EXPECT_EQ(next.text, QStringLiteral("2"));
    EXPECT_EQ(session.app.beepCount(), 2);
}

TEST_F(ScriptHostTest, ThumbnailOfAFileShowsItsFolderAndReadsBack)
{
    Session session;
    const QString picture = folder + QStringLiteral("/IMG_0001.JPG");
    const ScriptResult result = session.host.run(
        "app.document.thumbnail = new Thumbnail(\"" + escapeBackslashes(picture) + "\"); app.document.thumbnail.path");
    ASSERT_TRUE(result.ok) << result.text.toStdString();
    EXPECT_EQ(result.text, picture);
    EXPECT_EQ(session.app.folder(), folder);
}

} // namespace
