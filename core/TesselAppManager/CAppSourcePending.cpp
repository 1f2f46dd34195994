// Operations whose work arrives with the features that own it (the host
// application's own download command), and the panel's ordering and mode
// hooks, which the settings panel does without. Each tells the host plainly that it is not
// provided.
#include "CAppSource.h"

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
