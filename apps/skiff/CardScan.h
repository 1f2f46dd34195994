// What is on a card: the files whose extension the sink accepts, in a stable
// order. A card with a DCIM folder is read from there only (the rest of a
// camera card is the camera's own business); any other folder is read whole.
// Hidden files and folders are passed over.
#pragma once

#include <QSet>
#include <QString>

#include <vector>

#include <skiff/Skiff.h>

// The extensions a sink accepts, as its format list names them.
class FormatFilter {
public:
    // Reads the list through `formats` (borrowed). An entry "*" accepts any file.
    static FormatFilter fromList(IFileFormat& formats);
    static FormatFilter fromExtensions(const QStringList& extensions);

    bool accepts(const QString& fileName) const;

private:
    QSet<QString> m_extensions; // lower case, without the dot
    bool m_anyFile = false;
};

struct CardItem {
    QString sourcePath; // absolute path on the card
    QString fileName;
    qint64 size = 0;
};

struct CardScan {
    bool ok = false;
    QString error;               // when !ok: why the card could not be read
    std::vector<CardItem> items; // sorted by path on the card
    int skipped = 0;             // files the sink does not accept
};

CardScan scanCard(const QString& cardFolder, const FormatFilter& filter);
