#include "FakePanel.h"

namespace {

QString fromUnits(const FxChar* text)
{
    return text ? QString::fromUtf16(reinterpret_cast<const char16_t*>(text)) : QString();
}

} // namespace

bool FakeWidget::QueryInterface(long, void** out)
{
    *out = nullptr;
    return false;
}

void FakeWidget::SetChecked(bool value)
{
    checked = value;
    checkedHistory.push_back(value);
}

void FakeWidget::SetText(const FxChar* value) { text = fromUnits(value); }

void FakeWidget::GetText(FxChar* buf, unsigned int size)
{
    if (!buf || size == 0)
        return;
    const unsigned n = std::min<unsigned>(unsigned(text.size()), size - 1);
    std::copy_n(text.utf16(), n, buf);
    buf[n] = 0;
}

void FakeWidget::SetSecondText(const FxChar* value) { secondText = fromUnits(value); }

FakeUIHandler::FakeUIHandler(const std::vector<std::string>& names)
{
    for (const std::string& name : names)
        widgets[name] = std::make_unique<FakeWidget>();
}

bool FakeUIHandler::QueryInterface(long, void** out)
{
    *out = nullptr;
    return false;
}

FxResult FakeUIHandler::GetWidget(const char* objectName, IFxWidget** out)
{
    const auto it = widgets.find(objectName ? objectName : "");
    if (!out || *out || it == widgets.end())
        return kFxErrInvalidArg;
    it->second->AddRef();
    *out = it->second.get();
    return kFxOk;
}

FakeWidget* FakeUIHandler::widget(const char* name)
{
    const auto it = widgets.find(name);
    return it == widgets.end() ? nullptr : it->second.get();
}

long FakeUIHandler::outstanding() const
{
    long sum = refs;
    for (const auto& entry : widgets)
        sum += entry.second->refs;
    return sum;
}

std::vector<std::string> allPanelWidgets()
{
    return {SKIFF_WIDGET_SETTINGS_BUTTON,       SKIFF_WIDGET_DNG_CHECKBOX,
            SKIFF_WIDGET_LAUNCH_TESSEL_CHECKBOX, SKIFF_WIDGET_DELETE_FILES_CHECKBOX,
            SKIFF_WIDGET_SAVE_COPIES_CHECKBOX,   SKIFF_WIDGET_SECONDARY_BACKUP_LABEL,
            SKIFF_WIDGET_BROWSE_BUTTON};
}
