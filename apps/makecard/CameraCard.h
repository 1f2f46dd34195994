// A sample camera card written into a folder: a DCIM layout with JPEGs drawn
// with Qt and raw files from the raw synthesiser (mosaic images that LibRaw
// decodes, under a camera's raw extension), the first raw file with an XMP
// sidecar. Every file is made here; nothing is downloaded.
#pragma once

#include <QString>
#include <QStringList>

struct CardLayout {
    int jpegs = 4;
    int raws = 2;
    unsigned seed = 1;     // different seeds give different pixels
    int rawWidth = 320;    // raw sensor size, even, at least 16 x 16
    int rawHeight = 240;
};

struct CardResult {
    bool ok = false;
    QString error;     // when !ok: what could not be done, naming the path
    QStringList files; // what was written, relative to the card folder, in order
};

// The folder the images go into, relative to the card folder.
QString cardImageFolder();

// Checks `layout`; an empty string when it can be written, else why not.
QString validateLayout(const CardLayout& layout);

// Writes the card into `folder`, which must be missing or empty: a card is
// never written over someone's files. Files are numbered IMG_0001 onwards,
// the JPEGs first. On failure what was written so far is removed again and
// `folder` is left as it was found (an empty folder stays).
CardResult writeCameraCard(const QString& folder, const CardLayout& layout);
