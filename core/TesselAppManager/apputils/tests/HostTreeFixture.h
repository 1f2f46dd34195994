// A host installation in a temporary folder: bin/ as the current directory,
// the user's configuration and the machine-wide data folder redirected into
// it, restored after each test.
#pragma once

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

class HostTreeFixture : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        m_oldCwd = QDir::currentPath();
        m_oldConfigHome = qgetenv("XDG_CONFIG_HOME");
        m_oldDataDirs = qgetenv("XDG_DATA_DIRS");
        QDir().mkpath(m_dir.filePath("bin"));
        QDir::setCurrent(m_dir.filePath("bin"));
        qputenv("XDG_CONFIG_HOME", m_dir.filePath("config").toUtf8());
        qputenv("XDG_DATA_DIRS", m_dir.filePath("share").toUtf8());
    }
    void TearDown() override
    {
        QDir::setCurrent(m_oldCwd);
        qputenv("XDG_CONFIG_HOME", m_oldConfigHome);
        qputenv("XDG_DATA_DIRS", m_oldDataDirs);
    }

    // Writes a file under the tree, creating its folders.
    void write(const QString& relative, const QByteArray& bytes)
    {
        const QString path = m_dir.filePath(relative);
        QDir().mkpath(QFileInfo(path).absolutePath());
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    // The host's configuration naming its application, and that
    // application's "Language" preference.
    void setHostLanguage(const QByteArray& language)
    {
        write("bin/skiff_common_config.xml",
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n"
              "  <key>Other</key>\n  <string>x</string>\n"
              "  <key>AppPreferenceID</key>\n  <string>com.corvane.skiff</string>\n</dict>\n</plist>\n");
        write("config/com.corvane.skiff.conf", "Language=" + language + "\n");
    }

    QTemporaryDir m_dir;

private:
    QString m_oldCwd;
    QByteArray m_oldConfigHome;
    QByteArray m_oldDataDirs;
};
