#include "MediaEnumerator.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <unistd.h>

namespace {

int refuse(DownloadedItem& item, const QString& reason, int code = 1)
{
    item.keptBecause = reason;
    return code;
}

} // namespace

void toFxField(FxChar* field, std::size_t size, const QString& text)
{
    const std::size_t n = std::min<std::size_t>(std::size_t(text.size()), size - 1);
    std::copy_n(text.utf16(), n, field);
    std::fill(field + n, field + size, FxChar(0));
}

void fillItemRecord(CPropSinkMediaItem& record, DownloadedItem& item)
{
    fxInitRecord(record);
    const QFileInfo copy(item.destinationPath);
    toFxField(record.folder, std::size(record.folder), copy.absolutePath());
    toFxField(record.fileName, std::size(record.fileName), copy.fileName());
    toFxField(record.destinationPath, std::size(record.destinationPath), item.destinationPath);
    record.deleteOriginal = &deleteVerifiedOriginal;
    record.hostContext = &item;
    record.itemSize = std::uint64_t(item.digest.size);
}

int deleteVerifiedOriginal(const CPropSinkMediaItem& record)
{
    auto* item = static_cast<DownloadedItem*>(record.hostContext);
    if (!item)
        return 1;
    if (!QFileInfo(item->cardRoot).isDir())
        return refuse(*item, QStringLiteral("the card is not available"), CPropSinkMediaItem::kDeviceNotAvailable);
    const FileDigest copy = digestFile(item->destinationPath);
    if (!copy.ok)
        return refuse(*item, QStringLiteral("its copy %1 cannot be read").arg(item->destinationPath));
    if (!copy.sameAs(item->digest))
        return refuse(*item, QStringLiteral("its copy %1 no longer matches the original").arg(item->destinationPath));
    const FileDigest original = digestFile(item->sourcePath);
    if (!original.ok) {
        if (!QFileInfo(item->cardRoot).isDir())
            return refuse(*item, QStringLiteral("the card is not available"), CPropSinkMediaItem::kDeviceNotAvailable);
        return refuse(*item, QStringLiteral("the original cannot be read"));
    }
    if (!original.sameAs(item->digest))
        return refuse(*item, QStringLiteral("the original has changed since it was copied"));
    if (::unlink(QFile::encodeName(item->sourcePath).constData()) != 0)
        return refuse(*item, QStringLiteral("the original cannot be removed: %1")
                                 .arg(QString::fromLocal8Bit(std::strerror(errno))));
    item->deleted = true;
    item->keptBecause.clear();
    return 0;
}

MediaEnumerator::MediaEnumerator(const QString& destinationFolder, std::vector<DownloadedItem>& items)
    : m_destinationFolder(destinationFolder)
    , m_items(items)
{
}

bool MediaEnumerator::QueryInterface(long id, void** out)
{
    if (!out)
        return false;
    if (id == kIID_IFxBase) {
        *out = static_cast<ISinkEnumMediaItem*>(this);
        AddRef();
        return true;
    }
    *out = nullptr;
    return false;
}

long MediaEnumerator::AddRef()
{
    return ++m_count;
}

long MediaEnumerator::Release()
{
    const long left = --m_count;
    if (left == 0)
        delete this;
    return left;
}

FxResult MediaEnumerator::GetSessionRecord(CProp& record)
{
    if (!record.is<CPropSource>())
        return kFxErrInvalidArg;
    auto& session = fxRecord<CPropSource>(record);
    fxInitRecord(session);
    toFxField(session.displayName, std::size(session.displayName), QStringLiteral("skiff"));
    toFxField(session.appPath, std::size(session.appPath), m_destinationFolder);
    return kFxOk;
}

FxResult MediaEnumerator::GetCount(unsigned long& count)
{
    count = static_cast<unsigned long>(m_items.size());
    return kFxOk;
}

FxResult MediaEnumerator::Reset()
{
    m_cursor = 0;
    return kFxOk;
}

FxResult MediaEnumerator::Next(CProp& record)
{
    if (!record.is<CPropSinkMediaItem>())
        return kFxErrInvalidArg;
    if (m_cursor >= m_items.size())
        return kFxEndOfEnum;
    fillItemRecord(fxRecord<CPropSinkMediaItem>(record), m_items[m_cursor++]);
    return kFxOk;
}
