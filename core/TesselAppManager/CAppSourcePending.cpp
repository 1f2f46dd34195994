// Operations whose work arrives with the features that own it: the download
// pipeline and hand-off, preferences and formats, the settings panel. Until
// then each tells the host plainly that it is not provided.
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

FxResult CAppSource::GetUIFilename(FxChar*, int)
{
    return kFxErrNotImplemented;
}

FxResult CAppSource::GetCustomUICaption(FxChar*, int)
{
    return kFxErrNotImplemented;
}

FxResult CAppSource::GetUIControlOrder(IUIOrderingOptionsEnum&)
{
    return kFxErrNotImplemented;
}

FxResult CAppSource::GetCustomUISummary(FxChar*, int)
{
    return kFxErrNotImplemented;
}

FxResult CAppSource::HandleUIModeChange(void*, eSkiffUIMode, int&)
{
    return kFxErrNotImplemented;
}

long CAppSource::handleUIEvent(const char*)
{
    return 0;
}

FxResult CAppSource::InvokeHostApp(void*, unsigned int, FxChar*)
{
    return kFxErrNotImplemented;
}
