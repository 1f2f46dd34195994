// The sink's settings panel without windows: the widgets the sink asks for
// exist, hold their state in memory and draw nothing. Handing the sink this
// panel lets it read the preferences that are bound to widgets (backup
// folder, DNG options) exactly as with the real panel, and lets the host
// set the check boxes from its command line.
#pragma once

#include <QString>

#include <map>
#include <string>

#include <skiff/Skiff.h>

class HeadlessWidget final : public IFxWidget {
public:
    HeadlessWidget() = default;
    bool QueryInterface(long id, void** out) override;
    long AddRef() override { return ++m_count; }
    long Release() override;
    bool IsChecked() override { return m_checked; }
    void SetChecked(bool checked) override { m_checked = checked; }
    bool IsEnabled() override { return m_enabled; }
    void SetEnabled(bool enabled) override { m_enabled = enabled; }
    void SetText(const FxChar* text) override;
    void GetText(FxChar* buf, unsigned int size) override;
    void SetSecondText(const FxChar* text) override;
    // There is no real widget behind it.
    void* NativeWidget() override { return nullptr; }

    const QString& text() const { return m_text; }
    const QString& secondText() const { return m_secondText; }

private:
    ~HeadlessWidget() = default;
    bool m_checked = false;
    bool m_enabled = true;
    QString m_text;
    QString m_secondText;
    long m_count = 1;
};

class HeadlessPanel final : public IClientUIHandler {
public:
    // Holds one widget for each of the panel's object names. Created with a
    // count of 1, owned by the creator.
    HeadlessPanel();
    bool QueryInterface(long id, void** out) override;
    long AddRef() override { return ++m_count; }
    long Release() override;
    FxResult GetWidget(const char* objectName, IFxWidget** out) override;

    // The widget with that object name (borrowed), null when there is none.
    HeadlessWidget* widget(const char* objectName) const;

private:
    ~HeadlessPanel();
    std::map<std::string, HeadlessWidget*> m_widgets;
    long m_count = 1;
};
