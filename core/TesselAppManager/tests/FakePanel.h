// The host's side of the settings panel, as small fakes that count how the
// plug-in holds them and record what it does to them.
#pragma once

#include <QString>

#include <map>
#include <ostream>
#include <memory>
#include <string>
#include <vector>

#include <skiff/HostInterfaces.h>

class QWidget;

class FakeWidget final : public IFxWidget {
public:
    bool QueryInterface(long, void** out) override;
    long AddRef() override { return ++refs; }
    long Release() override { return --refs; }
    bool IsChecked() override { return checked; }
    void SetChecked(bool value) override;
    bool IsEnabled() override { return enabled; }
    void SetEnabled(bool value) override { enabled = value; }
    void SetText(const FxChar* value) override;
    void GetText(FxChar* buf, unsigned int size) override;
    void SetSecondText(const FxChar* value) override;
    void* NativeWidget() override { return native; }

    long refs = 0;
    bool checked = false;
    bool enabled = true;
    QString text;
    QString secondText;
    std::vector<bool> checkedHistory;
    QWidget* native = nullptr;
};

class FakeUIHandler final : public IClientUIHandler {
public:
    // A handler that has every widget whose name is in `names`.
    explicit FakeUIHandler(const std::vector<std::string>& names);

    bool QueryInterface(long, void** out) override;
    long AddRef() override { return ++refs; }
    long Release() override { return --refs; }
    FxResult GetWidget(const char* objectName, IFxWidget** out) override;

    FakeWidget* widget(const char* name);
    // The sum of the counts of the handler and its widgets.
    long outstanding() const;

    long refs = 0;
    std::map<std::string, std::unique_ptr<FakeWidget>> widgets;
};

// Every object name of the panel.
std::vector<std::string> allPanelWidgets();

// Shows texts as text in test failures.
inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}
