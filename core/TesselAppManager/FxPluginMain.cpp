// The plug-in's only export.
#include <skiff/FxBase.h>

#include "CAppManager.h"

extern "C" __attribute__((visibility("default"))) bool FxPluginMain(IFxBase** out)
{
    if (!out)
        return false;
    try {
        auto* manager = new CAppManager;
        *out = static_cast<IFxPlugin*>(manager);
        manager->AddRef();
        return true;
    } catch (...) {
        return false;
    }
}
