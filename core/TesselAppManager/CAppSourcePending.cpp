// Operations whose work arrives with the features that own it (the download
// pipeline and hand-off), and the panel's ordering and mode hooks, which the
// settings panel does without. Each tells the host plainly that it is not
// provided.
#include "CAppSource.h"

FxResult CAppSource::PushAllMediaItems(ISinkEnumMediaItem&, IDisplayMsgHandler&, unsigned long&, void*,
                                       FxCancelCallback)
{
    return kFxErrNotImplemented;
}

FxResult CAppSource::GetCopyProgressLongestLabelString(FxChar*, int)
{
    return kFxErrNotImplemented;
}

FxResult CAppSource::GetUIControlOrder(IUIOrderingOptionsEnum&)
{
    return kFxErrNotImplemented;
}

FxResult CAppSource::HandleUIModeChange(void*, eSkiffUIMode, int&)
{
    return kFxErrNotImplemented;
}

FxResult CAppSource::InvokeHostApp(void*, unsigned int, FxChar*)
{
    return kFxErrNotImplemented;
}
