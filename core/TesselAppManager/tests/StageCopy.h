// A stage tree of its own in a temporary folder, shaped like an
// installation: bin/ as the current directory, the real preference module,
// resources and localised assets linked in, and the raw-conversion library
// present or absent as the test asks. The user's data and configuration
// folders are redirected into it too.
#pragma once

#include <QString>
#include <QTemporaryDir>

class StageCopy {
public:
    enum class Converter { Absent, Present };

    explicit StageCopy(Converter converter = Converter::Absent);
    ~StageCopy();
    StageCopy(const StageCopy&) = delete;
    StageCopy& operator=(const StageCopy&) = delete;

    bool isValid() const { return m_valid; }
    // A path under the temporary folder.
    QString path(const QString& relative) const { return m_tmp.filePath(relative); }
    // The user's preference folder of the plug-in.
    QString userFolder() const { return path(QStringLiteral("data/Corvane/Tessel 2024")); }
    // Writes "<appId>.conf" in the user's configuration folder.
    bool writeConfig(const QString& appId, const QByteArray& content) const;

private:
    QTemporaryDir m_tmp;
    QString m_oldCwd;
    QByteArray m_oldData;
    QByteArray m_oldConfig;
    bool m_valid = false;
};
