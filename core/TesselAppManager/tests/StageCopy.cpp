#include "StageCopy.h"

#include <QDir>
#include <QFile>

namespace {

void restore(const char* name, const QByteArray& value)
{
    if (value.isNull())
        qunsetenv(name);
    else
        qputenv(name, value);
}

} // namespace

StageCopy::StageCopy(Converter converter)
    : m_oldCwd(QDir::currentPath())
    , m_oldData(qgetenv("XDG_DATA_HOME"))
    , m_oldConfig(qgetenv("XDG_CONFIG_HOME"))
{
    const QString stage = QStringLiteral(TESSEL_STAGE_DIR);
    const QString root = m_tmp.filePath(QStringLiteral("stage"));
    QDir dir;
    bool ok = m_tmp.isValid() && dir.mkpath(root + QStringLiteral("/bin"))
        && dir.mkpath(root + QStringLiteral("/Frameworks"))
        && QFile::link(stage + QStringLiteral("/Frameworks/preference_xml_parser.framework"),
                       root + QStringLiteral("/Frameworks/preference_xml_parser.framework"))
        && QFile::link(stage + QStringLiteral("/Resources"), root + QStringLiteral("/Resources"))
        && QFile::link(stage + QStringLiteral("/shared_assets"), root + QStringLiteral("/shared_assets"))
        && QFile::copy(stage + QStringLiteral("/bin/skiff_common_config.xml"),
                       root + QStringLiteral("/bin/skiff_common_config.xml"));
    if (ok && converter == Converter::Present) {
        const QString bundle = root + QStringLiteral("/Frameworks/LumenPluginSupport.framework");
        ok = dir.mkpath(bundle)
            && QFile::link(QStringLiteral(TESSEL_CONVERTER_FIXTURE), bundle + QStringLiteral("/LumenPluginSupport"));
    }
    qputenv("XDG_DATA_HOME", QFile::encodeName(m_tmp.filePath(QStringLiteral("data"))));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_tmp.filePath(QStringLiteral("config"))));
    m_valid = ok && QDir::setCurrent(root + QStringLiteral("/bin"));
}

StageCopy::~StageCopy()
{
    QDir::setCurrent(m_oldCwd);
    restore("XDG_DATA_HOME", m_oldData);
    restore("XDG_CONFIG_HOME", m_oldConfig);
}

bool StageCopy::writeConfig(const QString& appId, const QByteArray& content) const
{
    const QString folder = m_tmp.filePath(QStringLiteral("config"));
    QFile file(folder + QLatin1Char('/') + appId + QStringLiteral(".conf"));
    return QDir().mkpath(folder) && file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}
