// The end of a download: where the files went, the summary messages, the
// deletion of the originals on the device, and the hand-off to Tessel.
#include "CAppSource.h"

#include <algorithm>
#include <iterator>

#include <QFileInfo>

#include "EndOfDownloadScript.h"
#include "PtZString.h"

namespace {

QString zstring(const char* literal)
{
    return PtZString::getZString(QString::fromUtf8(literal));
}

const FxChar* units(const QString& text)
{
    return reinterpret_cast<const FxChar*>(text.utf16());
}

// The host may fill the whole field and leave it unterminated.
QString destinationOf(const CPropSinkMediaItem& item)
{
    const FxChar* begin = item.destinationPath;
    const FxChar* end = std::find(begin, std::end(item.destinationPath), FxChar(0));
    return QString::fromUtf16(reinterpret_cast<const char16_t*>(begin), int(end - begin));
}

bool isChecked(IFxWidget* checkbox)
{
    return checkbox && checkbox->IsChecked();
}

// The folder the items went to. The walk stops at the first item whose path
// differs from the first one's and answers with the first path's folder;
// when no item differs (a single item, say) the first item's own path is the
// answer, so the messages and the script then name the file. Callers rely on
// that.
QString downloadFolder(ISinkEnumMediaItem& items)
{
    CPropSinkMediaItem item;
    fxInitRecord(item);
    items.Reset();
    if (items.Next(item.header) != kFxOk)
        return QString();
    const QString first = destinationOf(item);
    for (;;) {
        fxInitRecord(item);
        if (items.Next(item.header) != kFxOk)
            return first;
        if (destinationOf(item) != first)
            return QFileInfo(first).absolutePath();
    }
}

} // namespace

FxResult CAppSource::PushAllMediaItems(ISinkEnumMediaItem& items, IDisplayMsgHandler& messages, unsigned long&,
                                       void*, FxCancelCallback)
{
    try {
        const QString status = zstring("$$$/AppSource/FilesCopiedCaption=Files Successfully Copied");
        CPropSource session;
        fxInitRecord(session);
        if (items.GetSessionRecord(session.header) != kFxOk || !session.header.is<CPropSource>())
            return kFxErrInvalidArg;
        const bool openTessel = isChecked(m_panel.launchTesselCheckbox());
        const bool deleteFiles = isChecked(m_panel.deleteFilesCheckbox());
        QString folder = downloadFolder(items);

        if (m_dngFailureCount != 0) {
            const QString text = zstring("$$$/AppSource/DNGConversionFailed=Files Successfully Copied to %1. "
                                         "However, DNG Conversion failed for %2 file(s).")
                                     .arg(folder, QString::number(m_dngFailureCount));
            messages.ShowMessage(units(status), units(text));
        }
        const bool tesselRunning = m_handOff->isTesselRunning();
        if (!openTessel && !deleteFiles && !tesselRunning)
            displayFilesCopied(messages, folder);
        if (deleteFiles)
            deleteOriginals(items, messages, folder);

        folder = escapeBackslashes(folder);
        const QString script = endOfDownloadScript(m_handOff->isTesselRunning(), openTessel, folder, status);
        // Nobody is told when the hand-off fails: the files are copied either way.
        if (!script.isEmpty())
            m_handOff->launchTessel(script.toUtf8().toStdString(), openTessel);
        return kFxOk;
    } catch (...) {
        return kFxErrFailure;
    }
}

void CAppSource::displayFilesCopied(IDisplayMsgHandler& messages, const QString& folder)
{
    if (m_dngFailureCount != 0)
        return;
    const QString caption = zstring("$$$/AppSource/FilesCopiedCaption=Files Successfully Copied");
    const QString text = zstring("$$$/AppSource/DumpAndRun=Files have been successfully copied to ") + folder;
    messages.ShowMessage(units(caption), units(text));
}

void CAppSource::deleteOriginals(ISinkEnumMediaItem& items, IDisplayMsgHandler& messages, const QString& folder)
{
    const QString question = zstring("$$$/AppSource/VerifyDelete/Text=Files have been successfully copied to ")
        + folder
        + zstring("$$$/AppSource/VerifyDelete/Text2=. Do you want to delete these files from your camera, or card "
                  "reader?");
    long answer = 0;
    messages.AskYesNo(units(zstring("$$$/AppSource/VerifyDelete/Caption=Corvane Tessel")), units(question), answer);
    if (answer == 1)
        return;

    unsigned long count = 0;
    items.GetCount(count);
    // The host writes the flag from its cancel button while the window is open.
    volatile bool cancelled = false;
    IProgressHandler* progress = m_progressHandler;
    if (progress) {
        const QString caption = zstring("$$$/AppSource/DeleteProgress/DeleteCaption=Deleting Photos...");
        const QString cancelText = zstring("$$$/AppSource/DeleteProgress/Cancel=Cancel");
        progress->Start(count, &cancelled, units(caption), units(cancelText));
    }

    bool failed = false;
    CPropSinkMediaItem item;
    fxInitRecord(item);
    items.Reset();
    while (!cancelled && items.Next(item.header) == kFxOk) {
        if (item.deleteOriginal) {
            const int result = item.deleteOriginal(item);
            failed = failed || result != 0;
            if (result == CPropSinkMediaItem::kDeviceNotAvailable && progress)
                progress->ShowMessage(
                    units(zstring("$$$/AppSource/Deleteprogress/DeviceNotAvailable=Corvane Tessel")),
                    units(zstring("$$$/AppSource/DeviceNotAvailableMsg=Device is not connected or is busy.")), false);
        }
        if (progress)
            progress->Step();
        fxInitRecord(item);
    }

    if (!progress)
        return;
    if (failed)
        progress->ShowMessage(units(zstring("$$$/AppSource/Deleteprogress/FilesNotDeleted=Corvane Tessel")),
                              units(zstring("$$$/AppSource/FilesNotDeletedText=One or more files cannot be deleted. "
                                            "This may be because the files have been locked.")),
                              false);
    else
        progress->ShowMessage(units(zstring("$$$/AppSource/Deleteprogress/DeletedTitle=Corvane Tessel")),
                              units(zstring("$$$/AppSource/DeletedText=Your files have been successfully deleted "
                                            "from your camera, or card reader.")),
                              true);
}

void CAppSource::setTesselHandOff(std::unique_ptr<TesselHandOff> handOff)
{
    m_handOff = handOff ? std::move(handOff) : std::make_unique<TesselTalkHandOff>(m_tesselTalk);
}
