#include "PtPlatformServices.h"

#include <QDir>
#include <QSettings>
#include <QStandardPaths>

namespace {

QString environmentFolder(const char* variable, const QString& fallback)
{
    const QString value = qEnvironmentVariable(variable);
    return value.isEmpty() ? fallback : value;
}

} // namespace

QVariant PtCopyAppValue(const QString& key, const QString& appId)
{
    const QString configHome = environmentFolder("XDG_CONFIG_HOME", QDir::homePath() + QStringLiteral("/.config"));
    const QString file = configHome + QLatin1Char('/') + appId + QStringLiteral(".conf");
    if (!QFileInfo::exists(file))
        return {};
    QSettings settings(file, QSettings::IniFormat);
    return settings.value(key);
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
