// The pictures of a folder and their thumbnails: JPEG and PNG through Qt's
// image readers, DNG through LibRaw (the preview the file embeds, else a
// half-size rendering of its raw data).
#pragma once

#include <QImage>
#include <QString>
#include <QStringList>

// The picture files directly in folder (by extension, any case), sorted by
// name; empty for a folder that cannot be read.
QStringList listPictures(const QString& folder);

// The picture at path scaled to fit size x size, orientation applied; a null
// image when the file cannot be read as a picture. Never throws.
QImage loadThumbnail(const QString& path, int size);

// What the grid shows for a file loadThumbnail cannot read.
QImage placeholderThumbnail(int size);
