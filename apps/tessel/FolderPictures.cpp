#include "FolderPictures.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QPainter>

#include <libraw/libraw.h>

#include <memory>

namespace {
const QStringList kQtSuffixes = {QStringLiteral("jpg"), QStringLiteral("jpeg"), QStringLiteral("png")};
const QString kDngSuffix = QStringLiteral("dng");

QImage fit(const QImage& image, int size)
{
    if (image.isNull())
        return image;
    return image.scaled(size, size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

QImage fromProcessed(const libraw_processed_image_t& image)
{
    if (image.type == LIBRAW_IMAGE_JPEG)
        return QImage::fromData(image.data, static_cast<int>(image.data_size));
    if (image.type != LIBRAW_IMAGE_BITMAP || image.colors != 3 || image.bits != 8)
        return {};
    const qsizetype needed = qsizetype(image.width) * image.height * 3;
    if (image.data_size < needed)
        return {};
    return QImage(image.data, image.width, image.height, image.width * 3, QImage::Format_RGB888).copy();
}

QImage rawThumbnail(const QString& path)
{
    auto raw = std::make_unique<LibRaw>();
    if (raw->open_file(QFile::encodeName(path).constData()) != LIBRAW_SUCCESS)
        return {};
    int error = LIBRAW_SUCCESS;
    if (raw->unpack_thumb() == LIBRAW_SUCCESS) {
        std::unique_ptr<libraw_processed_image_t, void (*)(libraw_processed_image_t*)> thumb(
            raw->dcraw_make_mem_thumb(&error), LibRaw::dcraw_clear_mem);
        if (thumb) {
            const QImage image = fromProcessed(*thumb);
            if (!image.isNull())
                return image;
        }
    }
    raw->imgdata.params.half_size = 1;
    if (raw->unpack() != LIBRAW_SUCCESS || raw->dcraw_process() != LIBRAW_SUCCESS)
        return {};
    std::unique_ptr<libraw_processed_image_t, void (*)(libraw_processed_image_t*)> rendered(
        raw->dcraw_make_mem_image(&error), LibRaw::dcraw_clear_mem);
    return rendered ? fromProcessed(*rendered) : QImage();
}
} // namespace

QStringList listPictures(const QString& folder)
{
    QStringList pictures;
    const QFileInfoList entries = QDir(folder).entryInfoList(QDir::Files, QDir::Name);
    for (const QFileInfo& entry : entries) {
        const QString suffix = entry.suffix().toLower();
        if (kQtSuffixes.contains(suffix) || suffix == kDngSuffix)
            pictures << entry.absoluteFilePath();
    }
    return pictures;
}

QImage loadThumbnail(const QString& path, int size)
{
    if (QFileInfo(path).suffix().toLower() == kDngSuffix) {
        try {
            return fit(rawThumbnail(path), size);
        } catch (...) {
            // LibRaw reports some broken files by throwing.
            return {};
        }
    }
    QImageReader reader(path);
    reader.setAutoTransform(true);
    const QSize full = reader.size();
    if (full.isValid())
        reader.setScaledSize(full.scaled(size, size, Qt::KeepAspectRatio));
    return reader.read();
}

QImage placeholderThumbnail(int size)
{
    QImage image(size, size, QImage::Format_RGB32);
    image.fill(Qt::lightGray);
    QPainter painter(&image);
    painter.setPen(QPen(Qt::darkGray, 2));
    painter.drawRect(image.rect().adjusted(1, 1, -2, -2));
    painter.drawLine(image.rect().topLeft(), image.rect().bottomRight());
    painter.drawLine(image.rect().topRight(), image.rect().bottomLeft());
    return image;
}
