#include "PtPlatformServices.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace {

QString environmentFolder(const char* variable, const QString& fallback)
{
    const QString value = qEnvironmentVariable(variable);
    return value.isEmpty() ? fallback : value;
}

// The raw text of a top-level key of an INI file. Qt's own INI reader would
// split "de,fr" into a list and cut "fr;x" at the semicolon; an application
// preference is one text, so the line is read as it stands.
QVariant rawIniValue(const QString& path, const QString& key)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    bool topLevel = true;
    while (!file.atEnd()) {
        QString line = QString::fromUtf8(file.readLine());
        while (line.endsWith(QLatin1Char('\n')) || line.endsWith(QLatin1Char('\r')))
            line.chop(1);
        const QString trimmed = line.trimmed();
        if (trimmed.startsWith(QLatin1Char('['))) {
            topLevel = trimmed == QLatin1String("[General]");
            continue;
        }
        if (!topLevel || trimmed.startsWith(QLatin1Char(';')) || trimmed.startsWith(QLatin1Char('#')))
            continue;
        const int equals = line.indexOf(QLatin1Char('='));
        if (equals < 0 || line.left(equals).trimmed() != key)
            continue;
        const QString value = line.mid(equals + 1);
        const QString inner = value.trimmed();
        // A value written in quotes is the text between them, blanks and all.
        if (inner.size() >= 2 && inner.startsWith(QLatin1Char('"')) && inner.endsWith(QLatin1Char('"')))
            return inner.mid(1, inner.size() - 2);
        return value;
    }
    return {};
}

} // namespace

QVariant PtCopyAppValue(const QString& key, const QString& appId)
{
    const QString configHome = environmentFolder("XDG_CONFIG_HOME", QDir::homePath() + QStringLiteral("/.config"));
    const QString file = configHome + QLatin1Char('/') + appId + QStringLiteral(".conf");
    if (!QFileInfo::exists(file))
        return {};
    return rawIniValue(file, key);
}

QString PtPicturesFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
}

QString PtUserApplicationSupportFolder()
{
    return environmentFolder("XDG_DATA_HOME", QDir::homePath() + QStringLiteral("/.local/share"));
}

QString PtLocalApplicationSupportFolder()
{
    const QString dirs = qEnvironmentVariable("XDG_DATA_DIRS");
    const QString first = dirs.section(QLatin1Char(':'), 0, 0);
    return first.isEmpty() ? QStringLiteral("/usr/local/share") : first;
}
