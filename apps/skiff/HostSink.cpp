#include "HostSink.h"

#include "HostMessages.h"

bool HostSink::QueryInterface(long id, void** out)
{
    if (!out)
        return false;
    *out = id == kIID_IFxBase || id == kIID_ISkiffPostProcessing ? static_cast<ISkiffPostProcessing*>(this) : nullptr;
    if (*out)
        AddRef();
    return *out != nullptr;
}

long HostSink::Release()
{
    const long left = --m_count;
    if (left == 0)
        delete this;
    return left;
}

FxResult HostSink::confirm(const CPropSinkMediaItem* item) const
{
    if (!item || !item->header.is<CPropSinkMediaItem>())
        return 0;
    return m_copied.contains(fromFxText(item->destinationPath)) ? 1 : 0;
}

FxResult HostSink::DoPreProcessing(CPropSinkMediaItem* item, FxMessageCallback, FxMessageCallback, FxMessageCallback,
                                   FxCancelCallback, IDisplayMsgHandler*)
{
    return confirm(item);
}

FxResult HostSink::DoPostProcessing(CPropSinkMediaItem* item, FxMessageCallback, FxMessageCallback, FxMessageCallback,
                                    FxCancelCallback, IDisplayMsgHandler*)
{
    return confirm(item);
}
