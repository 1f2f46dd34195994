#include "CameraCard.h"

#include <QColor>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QPainter>
#include <QSaveFile>

#include "SyntheticRaw.h"

namespace {

constexpr int kMaxFiles = 9999; // IMG_0001 .. IMG_9999: one DCIM folder
constexpr int kMaxRawSide = 8192;

const char* const kDateTime = "2024:05:17 10:20:30";

QString imageName(int number, const char* extension)
{
    return QStringLiteral("IMG_%1.%2").arg(number, 4, 10, QLatin1Char('0')).arg(QLatin1String(extension));
}

bool writeJpeg(const QString& path, unsigned seed)
{
    QImage image(640, 480, QImage::Format_RGB32);
    image.fill(QColor::fromHsv(int(seed * 47 % 360), 180, 230));
    QPainter painter(&image);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromHsv(int((seed * 47 + 180) % 360), 200, 120));
    painter.drawEllipse(QPoint(int(seed * 53 % 640), 240), 140, 140);
    painter.setPen(Qt::white);
    QFont font = painter.font();
    font.setPixelSize(48);
    painter.setFont(font);
    painter.drawText(image.rect(), Qt::AlignCenter, QFileInfo(path).fileName());
    painter.end();
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && image.save(&file, "JPG", 90) && file.commit();
}

QByteArray sidecarText(const QString& rawName)
{
    return QStringLiteral(
               "<?xpacket begin=\"\xEF\xBB\xBF\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>\n"
               "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\">\n"
               " <rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">\n"
               "  <rdf:Description rdf:about=\"\"\n"
               "    xmlns:xmp=\"http://ns.adobe.com/xap/1.0/\"\n"
               "    xmlns:dc=\"http://purl.org/dc/elements/1.1/\"\n"
               "    xmp:Rating=\"3\" xmp:CreateDate=\"2024-05-17T10:20:30\">\n"
               "   <dc:title><rdf:Alt><rdf:li xml:lang=\"x-default\">%1</rdf:li></rdf:Alt></dc:title>\n"
               "  </rdf:Description>\n"
               " </rdf:RDF>\n"
               "</x:xmpmeta>\n"
               "<?xpacket end=\"w\"?>\n")
        .arg(rawName.toHtmlEscaped())
        .toUtf8();
}

bool writeBytes(const QString& path, const QByteArray& bytes)
{
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit();
}

CardResult fail(const QString& error)
{
    CardResult result;
    result.error = error;
    return result;
}

} // namespace

QString cardImageFolder()
{
    return QStringLiteral("DCIM/100CORVA");
}

QString validateLayout(const CardLayout& layout)
{
    if (layout.jpegs < 0 || layout.raws < 0)
        return QStringLiteral("the numbers of files cannot be negative");
    if (layout.jpegs + layout.raws == 0)
        return QStringLiteral("a card needs at least one file");
    if (layout.jpegs + layout.raws > kMaxFiles)
        return QStringLiteral("at most %1 files fit one DCIM folder").arg(kMaxFiles);
    if (layout.rawWidth < 16 || layout.rawHeight < 16 || layout.rawWidth > kMaxRawSide ||
        layout.rawHeight > kMaxRawSide || layout.rawWidth % 2 || layout.rawHeight % 2)
        return QStringLiteral("the raw size must be even, from 16 to %1 on each side").arg(kMaxRawSide);
    return {};
}

CardResult writeCameraCard(const QString& folder, const CardLayout& layout)
{
    const QString invalid = validateLayout(layout);
    if (!invalid.isEmpty())
        return fail(invalid);
    const QFileInfo info(folder);
    if (info.exists() && !info.isDir())
        return fail(QStringLiteral("%1 is not a folder").arg(folder));
    if (info.exists() && !QDir(folder).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot))
        return fail(QStringLiteral("%1 is not empty: a card is only written into a new or empty folder").arg(folder));
    const bool madeRoot = !info.exists();
    const QString images = folder + QLatin1Char('/') + cardImageFolder();
    if (!QDir().mkpath(images))
        return fail(QStringLiteral("cannot create %1").arg(images));

    CardResult result;
    const auto undo = [&](const QString& error) {
        // Only what this call created goes: the DCIM tree, then the root if it was new.
        QDir(folder + QStringLiteral("/DCIM")).removeRecursively();
        if (madeRoot)
            QDir().rmdir(folder);
        return fail(error);
    };
    int number = 0;
    for (int i = 0; i < layout.jpegs; ++i) {
        const QString name = cardImageFolder() + QLatin1Char('/') + imageName(++number, "JPG");
        if (!writeJpeg(folder + QLatin1Char('/') + name, layout.seed + unsigned(number)))
            return undo(QStringLiteral("cannot write %1/%2").arg(folder, name));
        result.files << name;
    }
    for (int i = 0; i < layout.raws; ++i) {
        const QString name = cardImageFolder() + QLatin1Char('/') + imageName(++number, "NEF");
        SyntheticRaw raw = makeSyntheticRaw(unsigned(layout.rawWidth), unsigned(layout.rawHeight), 12,
                                            layout.seed + unsigned(number));
        raw.dateTime = kDateTime;
        if (!writeSyntheticDng(raw, QFile::encodeName(folder + QLatin1Char('/') + name).toStdString()))
            return undo(QStringLiteral("cannot write %1/%2").arg(folder, name));
        result.files << name;
        if (i == 0) {
            const QString sidecar = cardImageFolder() + QLatin1Char('/') + imageName(number, "xmp");
            if (!writeBytes(folder + QLatin1Char('/') + sidecar, sidecarText(imageName(number, "NEF"))))
                return undo(QStringLiteral("cannot write %1/%2").arg(folder, sidecar));
            result.files << sidecar;
        }
    }
    result.ok = true;
    return result;
}
