// The host's panel handler and the seven widgets of the sink's settings
// panel that the source object reads and writes.
#pragma once

#include <skiff/HostInterfaces.h>

class CAppPanelWidgets {
public:
    CAppPanelWidgets() = default;
    CAppPanelWidgets(const CAppPanelWidgets&) = delete;
    CAppPanelWidgets& operator=(const CAppPanelWidgets&) = delete;
    ~CAppPanelWidgets() { release(); }

    // Gives back what is held, then keeps `handler` (AddRef'd) and asks it for
    // each widget by object name. A widget the handler does not have stays
    // null; a null handler leaves everything empty.
    void take(IClientUIHandler* handler);
    // Releases the widgets and the handler.
    void release();

    // Borrowed pointers, null when the host has not handed the widget over.
    IClientUIHandler* handler() const { return m_handler; }
    IFxWidget* settingsButton() const { return m_settingsButton; }
    IFxWidget* dngCheckbox() const { return m_dngCheckbox; }
    IFxWidget* launchTesselCheckbox() const { return m_launchTesselCheckbox; }
    IFxWidget* deleteFilesCheckbox() const { return m_deleteFilesCheckbox; }
    IFxWidget* saveCopiesCheckbox() const { return m_saveCopiesCheckbox; }
    IFxWidget* secondaryBackupLabel() const { return m_secondaryBackupLabel; }
    IFxWidget* browseButton() const { return m_browseButton; }

private:
    IClientUIHandler* m_handler = nullptr;
    IFxWidget* m_settingsButton = nullptr;
    IFxWidget* m_dngCheckbox = nullptr;
    IFxWidget* m_launchTesselCheckbox = nullptr;
    IFxWidget* m_deleteFilesCheckbox = nullptr;
    IFxWidget* m_saveCopiesCheckbox = nullptr;
    IFxWidget* m_secondaryBackupLabel = nullptr;
    IFxWidget* m_browseButton = nullptr;
};
