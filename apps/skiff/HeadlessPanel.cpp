#include "HeadlessPanel.h"

#include <algorithm>

#include "HostMessages.h"

bool HeadlessWidget::QueryInterface(long id, void** out)
{
    if (!out)
        return false;
    *out = id == kIID_IFxBase ? static_cast<IFxWidget*>(this) : nullptr;
    if (*out)
        AddRef();
    return *out != nullptr;
}

long HeadlessWidget::Release()
{
    const long left = --m_count;
    if (left == 0)
        delete this;
    return left;
}

void HeadlessWidget::SetText(const FxChar* text)
{
    m_text = fromFxText(text);
}

void HeadlessWidget::GetText(FxChar* buf, unsigned int size)
{
    if (!buf || size == 0)
        return;
    const unsigned n = std::min<unsigned>(unsigned(m_text.size()), size - 1);
    std::copy_n(m_text.utf16(), n, buf);
    buf[n] = 0;
}

void HeadlessWidget::SetSecondText(const FxChar* text)
{
    m_secondText = fromFxText(text);
}

HeadlessPanel::HeadlessPanel()
{
    for (const char* name : {SKIFF_WIDGET_SETTINGS_BUTTON, SKIFF_WIDGET_DNG_CHECKBOX, SKIFF_WIDGET_LAUNCH_TESSEL_CHECKBOX,
                             SKIFF_WIDGET_DELETE_FILES_CHECKBOX, SKIFF_WIDGET_SAVE_COPIES_CHECKBOX,
                             SKIFF_WIDGET_SECONDARY_BACKUP_LABEL, SKIFF_WIDGET_BROWSE_BUTTON})
        m_widgets[name] = new HeadlessWidget;
}

HeadlessPanel::~HeadlessPanel()
{
    for (auto& [name, widget] : m_widgets)
        widget->Release();
}

bool HeadlessPanel::QueryInterface(long id, void** out)
{
    if (!out)
        return false;
    *out = id == kIID_IFxBase ? static_cast<IClientUIHandler*>(this) : nullptr;
    if (*out)
        AddRef();
    return *out != nullptr;
}

long HeadlessPanel::Release()
{
    const long left = --m_count;
    if (left == 0)
        delete this;
    return left;
}

FxResult HeadlessPanel::GetWidget(const char* objectName, IFxWidget** out)
{
    if (!objectName || !out || *out)
        return kFxErrInvalidArg;
    HeadlessWidget* found = widget(objectName);
    if (!found)
        return kFxErrInvalidArg;
    found->AddRef();
    *out = found;
    return kFxOk;
}

HeadlessWidget* HeadlessPanel::widget(const char* objectName) const
{
    const auto it = m_widgets.find(objectName);
    return it == m_widgets.end() ? nullptr : it->second;
}
