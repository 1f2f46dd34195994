// The operations whose whole behaviour is a fixed answer to the host, and
// the ones this destination does not provide.
#include "CAppSource.h"

#include "FxText.h"

FxResult CAppSource::EnumMediaItems(eMediaItemType, IEnumMediaItem**, bool)
{
    return kFxErrNotImplemented;
}

FxResult CAppSource::AcquireAllMediaItems(eMediaItemType, const FxChar*, unsigned long&, bool, FxCancelCallback)
{
    return kFxErrNotImplemented;
}

FxResult CAppSource::DeleteAllMediaItems(eMediaItemType, unsigned long&, FxCancelCallback)
{
    return kFxErrNotImplemented;
}

FxResult CAppSource::ShowUI(void*, IEnumMediaItem**)
{
    return kFxErrNotImplemented;
}

// The host calls this form too; the end-of-download work is in the form
// that carries a message handler.
FxResult CAppSource::PushAllMediaItems(ISinkEnumMediaItem&, unsigned long&, void*, FxCancelCallback)
{
    return kFxOk;
}

FxResult CAppSource::ShowSinkUI(void*, ISinkEnumMediaItem&)
{
    return kFxErrNotImplemented;
}

FxResult CAppSource::PushOneMediaItem(const FxChar*, const FxChar*, FxCancelCallback, eUploadAction)
{
    return kFxErrNotImplemented;
}

FxResult CAppSource::GetSinkStateInformation(ISinkStateInfo*&)
{
    return kFxErrNotImplemented;
}

FxResult CAppSource::GetSinkMediaHandler(ISinkMediaHandler*&)
{
    return kFxErrNotImplemented;
}

FxResult CAppSource::GetSinkSupportInfo(long& info)
{
    info = 0;
    return kFxOk;
}

FxResult CAppSource::GetSinkUtilHandler(ISinkUtilHandler*& handler)
{
    m_sinkUtilHandler = static_cast<ISinkUtilHandler2*>(this);
    m_sinkUtilHandler->AddRef();
    handler = m_sinkUtilHandler;
    return kFxOk;
}

FxResult CAppSource::SetKilnSupportedExtensions(FxChar* extensions)
{
    m_kilnExtensions = extensions ? std::u16string(reinterpret_cast<const char16_t*>(extensions)) : std::u16string();
    return kFxOk;
}

FxResult CAppSource::SetLumenPluginSupportedExtensions(FxChar* extensions)
{
    m_lumenPluginExtensions =
        extensions ? std::u16string(reinterpret_cast<const char16_t*>(extensions)) : std::u16string();
    return kFxOk;
}

FxResult CAppSource::GetForceFourDigitSequenceNumber(bool& force)
{
    force = true;
    return kFxOk;
}

FxResult CAppSource::GetDateSeperatorChar(char& separator)
{
    separator = 0;
    return kFxOk;
}

FxResult CAppSource::GetSeperatorChar(char& separator)
{
    separator = '_';
    return kFxOk;
}

FxResult CAppSource::GetSinkAdvancedCapability(long& capability)
{
    capability = 14;
    return kFxOk;
}

FxResult CAppSource::GetLogParams(FxChar*, unsigned int, long&)
{
    return kFxErrNotSupported;
}

FxResult CAppSource::GetDeviceEntryParams(CPropSource*, IEnumArbitraryData**)
{
    return kFxErrNotSupported;
}

FxResult CAppSource::GetMediaEntryParams(CPropSinkMediaItem*, IEnumArbitraryData**)
{
    return kFxErrNotSupported;
}

FxResult CAppSource::GetSessionEndParams(IEnumArbitraryData**)
{
    return kFxErrNotSupported;
}

FxResult CAppSource::DisplayHelp(void*)
{
    return kFxErrNotImplemented;
}

FxResult CAppSource::GetDisplayString(eDisplayStringType, FxChar*, unsigned int)
{
    return kFxErrNotImplemented;
}

void CAppSource::deleteXMPData(bool remove)
{
    m_deleteXMPData = remove;
}

FxResult CAppSource::GetHostAppName(FxChar* buf, unsigned int size)
{
    if (!buf)
        return kFxErrNoBuffer;
    fxCopyBounded(buf, size, u"Tessel");
    return kFxOk;
}

FxResult CAppSource::GetHostAppPath(FxChar* buf, unsigned int)
{
    return buf ? kFxOk : kFxErrNoBuffer;
}

FxResult CAppSource::SetSkiffHandle(void* handle)
{
    m_skiffHandle = handle;
    return kFxOk;
}

FxResult CAppSource::GetIsHostAppRunning(unsigned int& running, void*&)
{
    running = 0;
    return kFxOk;
}

FxResult CAppSource::SetProgressHandler(IProgressHandler* handler)
{
    m_progressHandler = handler;
    return kFxOk;
}
