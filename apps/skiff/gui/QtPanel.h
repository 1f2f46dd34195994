// The sink's settings panel as real widgets: the Designer form the sink
// names, loaded at run time, and the seven widgets the sink asks for, each
// wrapped in the host's widget interface. A click on any of them is passed
// to the sink by the widget's object name.
#pragma once

#include <QList>
#include <QMetaObject>
#include <QPointer>
#include <QString>
#include <QWidget>

#include <map>
#include <string>

#include <skiff/Skiff.h>

class PanelWidget final : public IFxWidget {
public:
    // `widget` is borrowed: when Qt deletes it, every call does nothing.
    explicit PanelWidget(QWidget* widget) : m_widget(widget) {}
    bool QueryInterface(long id, void** out) override;
    long AddRef() override { return ++m_count; }
    long Release() override;
    // A check box's state; false for any other widget.
    bool IsChecked() override;
    void SetChecked(bool checked) override;
    bool IsEnabled() override { return m_widget && m_widget->isEnabled(); }
    void SetEnabled(bool enabled) override;
    // The text of a button or a label.
    void SetText(const FxChar* text) override;
    void GetText(FxChar* buf, unsigned int size) override;
    // Shown as the widget's tool tip.
    void SetSecondText(const FxChar* text) override;
    void* NativeWidget() override { return m_widget.data(); }

private:
    ~PanelWidget() = default;
    QPointer<QWidget> m_widget;
    long m_count = 1;
};

class QtPanel final : public IClientUIHandler {
public:
    // The seven object names the sink's panel is made of.
    static const char* const kWidgetNames[7];

    // Loads the form at `formPath` under `parent`. Returns null and sets
    // `error` when the file cannot be read or lacks one of the seven widgets.
    // Created with a count of 1, owned by the caller; the form belongs to `parent`.
    static QtPanel* load(const QString& formPath, QWidget* parent, QString& error);

    bool QueryInterface(long id, void** out) override;
    long AddRef() override { return ++m_count; }
    long Release() override;
    FxResult GetWidget(const char* objectName, IFxWidget** out) override;

    // The loaded form.
    QWidget* form() const { return m_form; }
    // Passes every click on one of the seven widgets to `callback` (borrowed,
    // must stay alive until disconnect()).
    void connectTo(IUICallback* callback);
    void disconnect();

private:
    QtPanel(QWidget* form, std::map<std::string, PanelWidget*> widgets) : m_form(form), m_widgets(std::move(widgets)) {}
    ~QtPanel();

    QPointer<QWidget> m_form;
    std::map<std::string, PanelWidget*> m_widgets;
    QList<QMetaObject::Connection> m_connections;
    long m_count = 1;
};
