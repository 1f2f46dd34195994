#include "TestCard.h"

#include <QColor>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QProcess>

#include "SyntheticRaw.h"

bool writeJpeg(const QString& path, int seed, int side)
{
    QImage image(side, side, QImage::Format_RGB32);
    image.fill(QColor::fromHsv((seed * 47) % 360, 200, 220));
    QPainter painter(&image);
    painter.fillRect(seed % side, 0, side / 4, side, Qt::black);
    painter.end();
    return image.save(path, "JPG", 90);
}

bool writeBytes(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QByteArray readBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool writeRaw(const QString& path, unsigned seed)
{
    return writeSyntheticDng(makeSyntheticRaw(64, 48, 12, seed), QFile::encodeName(path).toStdString());
}

QStringList entries(const QString& folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

QProcessEnvironment hostEnvironment(const QString& home)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    QDir().mkpath(home + QStringLiteral("/runtime"));
    QFile::setPermissions(home + QStringLiteral("/runtime"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    env.insert(QStringLiteral("HOME"), home);
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/config"));
    env.insert(QStringLiteral("XDG_DATA_HOME"), home + QStringLiteral("/data"));
    env.insert(QStringLiteral("XDG_RUNTIME_DIR"), home + QStringLiteral("/runtime"));
    return env;
}

bool writePreferences(const QString& home, const QList<QPair<QString, QString>>& values)
{
    QString text = QString::fromUtf8(
        readBytes(QStringLiteral(TESSEL_SOURCE_DIR "/modules/preference_xml_parser/Resources/Preferences.xml")));
    for (const auto& [key, value] : values) {
        const QString open = QStringLiteral("<value key=\"%1\" type=\"text\">").arg(key);
        const int at = text.indexOf(open);
        if (at < 0)
            return false;
        const int start = at + open.size();
        text.replace(start, text.indexOf(QLatin1Char('<'), start) - start, value.toHtmlEscaped());
    }
    const QString folder = home + QStringLiteral("/data/Corvane/Tessel 2024");
    return QDir().mkpath(folder) && writeBytes(folder + QStringLiteral("/Preferences.xml"), text.toUtf8());
}

QString hostProgram()
{
    return QStringLiteral(TESSEL_STAGE_DIR "/bin/skiff");
}

HostRun runHost(const QStringList& arguments, const QString& home)
{
    QProcess process;
    process.setProcessEnvironment(hostEnvironment(home));
    process.setWorkingDirectory(QStringLiteral(TESSEL_STAGE_DIR "/bin"));
    process.start(hostProgram(), arguments);
    HostRun run;
    if (!process.waitForFinished(120000)) {
        process.kill();
        process.waitForFinished();
        return run;
    }
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = QString::fromUtf8(process.readAllStandardOutput());
    run.err = QString::fromUtf8(process.readAllStandardError());
    return run;
}
