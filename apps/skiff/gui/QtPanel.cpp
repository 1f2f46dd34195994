#include "QtPanel.h"

#include <QAbstractButton>
#include <QFile>
#include <QLabel>
#include <QUiLoader>

#include <algorithm>

#include "HostMessages.h"

namespace {

template <typename Self, typename Face>
bool queryBase(Self* self, long id, void** out)
{
    if (!out)
        return false;
    *out = id == kIID_IFxBase ? static_cast<Face*>(self) : nullptr;
    if (*out)
        self->AddRef();
    return *out != nullptr;
}

} // namespace

bool PanelWidget::QueryInterface(long id, void** out)
{
    return queryBase<PanelWidget, IFxWidget>(this, id, out);
}

long PanelWidget::Release()
{
    const long left = --m_count;
    if (left == 0)
        delete this;
    return left;
}

bool PanelWidget::IsChecked()
{
    auto* button = qobject_cast<QAbstractButton*>(m_widget.data());
    return button && button->isCheckable() && button->isChecked();
}

void PanelWidget::SetChecked(bool checked)
{
    if (auto* button = qobject_cast<QAbstractButton*>(m_widget.data()))
        button->setChecked(checked);
}

void PanelWidget::SetEnabled(bool enabled)
{
    if (m_widget)
        m_widget->setEnabled(enabled);
}

void PanelWidget::SetText(const FxChar* text)
{
    if (auto* button = qobject_cast<QAbstractButton*>(m_widget.data()))
        button->setText(fromFxText(text));
    else if (auto* label = qobject_cast<QLabel*>(m_widget.data()))
        label->setText(fromFxText(text));
}

void PanelWidget::GetText(FxChar* buf, unsigned int size)
{
    if (!buf || size == 0)
        return;
    QString text;
    if (auto* button = qobject_cast<QAbstractButton*>(m_widget.data()))
        text = button->text();
    else if (auto* label = qobject_cast<QLabel*>(m_widget.data()))
        text = label->text();
    const unsigned n = std::min<unsigned>(unsigned(text.size()), size - 1);
    std::copy_n(text.utf16(), n, buf);
    buf[n] = 0;
}

void PanelWidget::SetSecondText(const FxChar* text)
{
    if (m_widget)
        m_widget->setToolTip(fromFxText(text));
}

const char* const QtPanel::kWidgetNames[7] = {
    SKIFF_WIDGET_SETTINGS_BUTTON,       SKIFF_WIDGET_DNG_CHECKBOX,          SKIFF_WIDGET_LAUNCH_TESSEL_CHECKBOX,
    SKIFF_WIDGET_DELETE_FILES_CHECKBOX, SKIFF_WIDGET_SAVE_COPIES_CHECKBOX, SKIFF_WIDGET_SECONDARY_BACKUP_LABEL,
    SKIFF_WIDGET_BROWSE_BUTTON};

QtPanel* QtPanel::load(const QString& formPath, QWidget* parent, QString& error)
{
    QFile file(formPath);
    if (!file.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("the panel form %1 cannot be read: %2").arg(formPath, file.errorString());
        return nullptr;
    }
    QUiLoader loader;
    QWidget* form = loader.load(&file, parent);
    if (!form) {
        error = QStringLiteral("the panel form %1 cannot be loaded: %2").arg(formPath, loader.errorString());
        return nullptr;
    }
    std::map<std::string, PanelWidget*> widgets;
    QStringList missing;
    for (const char* name : kWidgetNames) {
        auto* widget = form->findChild<QWidget*>(QLatin1String(name));
        if (widget)
            widgets[name] = new PanelWidget(widget);
        else
            missing << QLatin1String(name);
    }
    if (!missing.isEmpty()) {
        for (auto& [name, widget] : widgets)
            widget->Release();
        delete form;
        error = QStringLiteral("the panel form %1 lacks %2").arg(formPath, missing.join(QStringLiteral(", ")));
        return nullptr;
    }
    return new QtPanel(form, std::move(widgets));
}

QtPanel::~QtPanel()
{
    disconnect();
    for (auto& [name, widget] : m_widgets)
        widget->Release();
}

bool QtPanel::QueryInterface(long id, void** out)
{
    return queryBase<QtPanel, IClientUIHandler>(this, id, out);
}

long QtPanel::Release()
{
    const long left = --m_count;
    if (left == 0)
        delete this;
    return left;
}

FxResult QtPanel::GetWidget(const char* objectName, IFxWidget** out)
{
    if (!objectName || !out || *out)
        return kFxErrInvalidArg;
    const auto it = m_widgets.find(objectName);
    if (it == m_widgets.end())
        return kFxErrInvalidArg;
    it->second->AddRef();
    *out = it->second;
    return kFxOk;
}

void QtPanel::connectTo(IUICallback* callback)
{
    disconnect();
    if (!callback || !m_form)
        return;
    for (const char* name : kWidgetNames) {
        // Only the user's clicks count: the sink setting a box itself must
        // not come back to it as an event.
        if (auto* button = m_form->findChild<QAbstractButton*>(QLatin1String(name)))
            m_connections << QObject::connect(button, &QAbstractButton::clicked, button,
                                              [callback, name] { callback->handleUIEvent(name); });
    }
}

void QtPanel::disconnect()
{
    for (const QMetaObject::Connection& connection : m_connections)
        QObject::disconnect(connection);
    m_connections.clear();
}
