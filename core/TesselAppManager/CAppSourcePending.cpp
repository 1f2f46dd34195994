// The copy progress's label hint and the panel's ordering and mode hooks,
// which the plug-in does without. Each tells the host plainly that it is
// not provided.
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
