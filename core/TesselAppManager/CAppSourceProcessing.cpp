// Per-item work around the host's copy: the backup copy before it and the
// DNG conversion after it, each behind the next sink of the chain.
#include "CAppSource.h"

#include <algorithm>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sys/statvfs.h>

#include "AppFileUtils.h"
#include "PtZString.h"

namespace {

// The result for an item record whose declared size is wrong.
constexpr FxResult kMalformedItem = 0x40000001;

QString fromUnits(const FxChar* text)
{
    return QString::fromUtf16(reinterpret_cast<const char16_t*>(text));
}

void tell(FxMessageCallback callback, const char* zstring)
{
    if (callback)
        callback(reinterpret_cast<const FxChar*>(PtZString::getZString(QString::fromUtf8(zstring)).utf16()), 0);
}

bool lowOnSpace(const QString& folder, unsigned long long needed)
{
    struct statvfs info {};
    if (::statvfs(QFile::encodeName(folder).constData(), &info) != 0)
        return false;
    return static_cast<unsigned long long>(info.f_bavail) * info.f_frsize < needed;
}

} // namespace

FxResult CAppSource::setNextSink(ISkiffPostProcessing* next)
{
    if (next == static_cast<ISkiffPostProcessing*>(this))
        return kFxErrInvalidArg;
    if (next)
        next->AddRef();
    if (m_nextSink)
        m_nextSink->Release();
    m_nextSink = next;
    return kFxOk;
}

FxResult CAppSource::DoPreProcessing(CPropSinkMediaItem* item, FxMessageCallback status, FxMessageCallback warning,
                                     FxMessageCallback error, FxCancelCallback cancel, IDisplayMsgHandler* messages)
{
    try {
        if (!m_nextSink)
            return FxResult(false);
        const FxResult chained = m_nextSink->DoPreProcessing(item, status, warning, error, cancel, messages);
        if (!chained)
            return FxResult(false);
        if (!item || item->header.size != sizeof(CPropSinkMediaItem))
            return kFxErrNoBuffer;
        // No backup folder chosen: there is no copy to make.
        if (m_backupFolder.isEmpty())
            return chained;
        return makeBackupCopy(*item, status, error) ? chained : kFxErrNoBuffer;
    } catch (...) {
        return kFxErrFailure;
    }
}

bool CAppSource::makeBackupCopy(const CPropSinkMediaItem& item, FxMessageCallback status, FxMessageCallback error)
{
    tell(status, "$$$/AppSource/CreatingBackupCopy=Creating Backup Copy...");
    const QString folder = QDir::toNativeSeparators(m_backupFolder);
    if (!mkdirFromAbsPath(folder))
        return false;
    const QString itemFolder = fromUnits(item.folder);
    const QString name = fromUnits(item.fileName);

    // Numbering goes on from the previous copy when it was of the same series.
    QString base, lastBase;
    const unsigned number = utilBaseFilename(name, base);
    const unsigned lastNumber = utilBaseFilename(m_lastBackupName, lastBase);
    const unsigned start = !m_lastBackupName.isEmpty() && base == lastBase ? std::max(number, lastNumber) + 1 : 1;

    QString copyName;
    if (generateUniqueFileName(folder, name, copyName, start, false) &&
        copyFileIntoTargetFolder(itemFolder, name, folder, copyName)) {
        m_lastBackupName = copyName;
        return true;
    }
    const unsigned long long size =
        std::max<unsigned long long>(item.itemSize, QFileInfo(itemFolder + QLatin1Char('/') + name).size());
    if (lowOnSpace(folder, size))
        tell(error,
             "$$$/AppSource/LowDiskSpaceFailure=The backup destination folder is low on disk space, and could not "
             "obtain all files from the device. Please select a different folder or cleanup disk space and try again.");
    return false;
}

FxResult CAppSource::DoPostProcessing(CPropSinkMediaItem* item, FxMessageCallback status, FxMessageCallback warning,
                                      FxMessageCallback error, FxCancelCallback cancel, IDisplayMsgHandler* messages)
{
    try {
        if (!m_nextSink)
            return FxResult(false);
        const FxResult chained = m_nextSink->DoPostProcessing(item, status, warning, error, cancel, messages);
        if (!chained)
            return FxResult(false);
        if (!item || item->header.size != sizeof(CPropSinkMediaItem))
            return kMalformedItem;
        const QString path = fromUnits(item->folder) + QLatin1Char('/') + fromUnits(item->fileName);
        if (!QFileInfo::exists(path))
            return chained;
        const bool converted = convertToDNG(path, status, error);
        if (!converted)
            ++m_dngFailureCount;
        return FxResult(converted);
    } catch (...) {
        return kFxErrFailure;
    }
}
