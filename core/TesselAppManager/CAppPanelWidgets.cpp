#include "CAppPanelWidgets.h"

#include <initializer_list>

namespace {

void releaseOne(IFxBase*& held)
{
    if (held)
        held->Release();
    held = nullptr;
}

IFxWidget* fetch(IClientUIHandler* handler, const char* name)
{
    IFxWidget* widget = nullptr;
    return handler->GetWidget(name, &widget) == kFxOk ? widget : nullptr;
}

} // namespace

void CAppPanelWidgets::take(IClientUIHandler* handler)
{
    if (handler)
        handler->AddRef();
    release();
    if (!handler)
        return;
    m_handler = handler;
    m_settingsButton = fetch(handler, SKIFF_WIDGET_SETTINGS_BUTTON);
    m_dngCheckbox = fetch(handler, SKIFF_WIDGET_DNG_CHECKBOX);
    m_launchTesselCheckbox = fetch(handler, SKIFF_WIDGET_LAUNCH_TESSEL_CHECKBOX);
    m_deleteFilesCheckbox = fetch(handler, SKIFF_WIDGET_DELETE_FILES_CHECKBOX);
    m_saveCopiesCheckbox = fetch(handler, SKIFF_WIDGET_SAVE_COPIES_CHECKBOX);
    m_secondaryBackupLabel = fetch(handler, SKIFF_WIDGET_SECONDARY_BACKUP_LABEL);
    m_browseButton = fetch(handler, SKIFF_WIDGET_BROWSE_BUTTON);
}

void CAppPanelWidgets::release()
{
    for (IFxWidget** w : {&m_settingsButton, &m_dngCheckbox, &m_launchTesselCheckbox, &m_deleteFilesCheckbox,
                          &m_saveCopiesCheckbox, &m_secondaryBackupLabel, &m_browseButton}) {
        IFxBase* base = *w;
        releaseOne(base);
        *w = nullptr;
    }
    IFxBase* handler = m_handler;
    releaseOne(handler);
    m_handler = nullptr;
}
