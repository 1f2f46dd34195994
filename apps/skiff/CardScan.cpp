#include "CardScan.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>

#include <algorithm>

FormatFilter FormatFilter::fromList(IFileFormat& formats)
{
    QStringList extensions;
    formats.Reset();
    CPropFileFormat record;
    fxInitRecord(record);
    while (formats.GetFormat(record) == kFxOk) {
        int n = 0;
        while (n < 8 && record.extension[n])
            ++n;
        extensions << QString::fromUtf16(reinterpret_cast<const char16_t*>(record.extension), n);
    }
    formats.Reset();
    return fromExtensions(extensions);
}

FormatFilter FormatFilter::fromExtensions(const QStringList& extensions)
{
    FormatFilter filter;
    for (const QString& extension : extensions) {
        if (extension == QLatin1String("*"))
            filter.m_anyFile = true;
        else if (!extension.isEmpty())
            filter.m_extensions.insert(extension.toLower());
    }
    return filter;
}

bool FormatFilter::accepts(const QString& fileName) const
{
    if (m_anyFile)
        return true;
    const int dot = fileName.lastIndexOf(QLatin1Char('.'));
    return dot > 0 && m_extensions.contains(fileName.mid(dot + 1).toLower());
}

CardScan scanCard(const QString& cardFolder, const FormatFilter& filter)
{
    CardScan scan;
    const QFileInfo card(cardFolder);
    if (!card.isDir()) {
        scan.error = QStringLiteral("the card folder %1 does not exist or is not a folder").arg(cardFolder);
        return scan;
    }
    if (!card.isReadable()) {
        scan.error = QStringLiteral("the card folder %1 cannot be read").arg(cardFolder);
        return scan;
    }
    QString root = card.absoluteFilePath();
    const QFileInfo dcim(root + QStringLiteral("/DCIM"));
    if (dcim.isDir())
        root = dcim.absoluteFilePath();

    QDirIterator it(root, QDir::Files | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        it.next();
        const QFileInfo info = it.fileInfo();
        // Hidden folders (a converter's working folder, a system's trash)
        // hold nothing that belongs to the download.
        if (info.absoluteFilePath().mid(root.size()).contains(QStringLiteral("/.")))
            continue;
        if (!filter.accepts(info.fileName())) {
            ++scan.skipped;
            continue;
        }
        scan.items.push_back({info.absoluteFilePath(), info.fileName(), info.size()});
    }
    std::sort(scan.items.begin(), scan.items.end(),
              [](const CardItem& a, const CardItem& b) { return a.sourcePath < b.sourcePath; });
    scan.ok = true;
    return scan;
}
