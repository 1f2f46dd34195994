#include "PtMessageBox.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QFontMetrics>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSpacerItem>
#include <QVBoxLayout>

#include <algorithm>

#include "PtZString.h"

namespace {

QSpacerItem* expandingSpacer()
{
    return new QSpacerItem(0, 0, QSizePolicy::Expanding, QSizePolicy::Minimum);
}

} // namespace

PtMessageBox::PtMessageBox(QWidget* parent, QMessageBox::Icon icon, const QString& title, const QString& text,
                           const QString& button0Text, const QString& button1Text, const QString& button2Text,
                           const QString& button3Text, const QString& button4Text, int escapeIndex,
                           const QString& checkBoxText, bool checked, int defaultIndex)
    : QDialog(parent, Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::MSWindowsFixedSizeDialogHint)
    , m_escapeIndex(escapeIndex)
{
    setObjectName(QString());
    setModal(true);
    if (!title.isEmpty())
        setWindowTitle(title);

    auto* mainLayout = new QVBoxLayout(this);
    mainLayout->setSpacing(16);
    mainLayout->setContentsMargins(15, 15, 15, 15);

    m_iconLabel = new QLabel(this);
    m_iconLabel->setObjectName(QStringLiteral("messageBox.icon"));
    if (icon == QMessageBox::NoIcon)
        m_iconLabel->hide();
    else
        m_iconLabel->setPixmap(QMessageBox::standardIcon(icon));
    m_iconLabel->setFixedWidth(m_iconLabel->sizeHint().width());

    m_textLabel = new QLabel(this);
    m_textLabel->setObjectName(QStringLiteral("messageBox.label"));
    m_textLabel->setTextFormat(Qt::PlainText);
    m_textLabel->setText(text);
    m_textLabel->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    m_textLabel->setWordWrap(true);
    // Short texts keep their own width (plus a little air); longer ones wrap
    // in a fixed column so that the box never grows wider than 360 pixels.
    const int textWidth = QFontMetrics(font()).horizontalAdvance(text);
    m_textLabel->setFixedWidth(textWidth < 340 ? textWidth + 20 : 360);

    auto* textRow = new QHBoxLayout;
    textRow->setSpacing(16);
    textRow->setContentsMargins(0, 0, 0, 0);
    textRow->addWidget(m_iconLabel);
    textRow->addWidget(m_textLabel);
    textRow->addItem(expandingSpacer());
    mainLayout->addLayout(textRow);

    if (!checkBoxText.isEmpty()) {
        m_checkBox = new QCheckBox(checkBoxText, this);
        m_checkBox->setObjectName(QStringLiteral("messageBox.checkBox"));
        m_checkBox->setChecked(checked);
        auto* checkRow = new QHBoxLayout;
        checkRow->setContentsMargins(0, 0, 0, 0);
        checkRow->addWidget(m_checkBox);
        checkRow->addItem(expandingSpacer());
        mainLayout->addLayout(checkRow);
    }

    auto* buttonRow = new QHBoxLayout;
    buttonRow->setSpacing(10);
    buttonRow->setContentsMargins(0, 0, 0, 0);
    buttonRow->addItem(expandingSpacer());

    const QString texts[5] = {button0Text, button1Text, button2Text, button3Text, button4Text};
    void (PtMessageBox::*const handlers[5])() = {&PtMessageBox::slotBtn0, &PtMessageBox::slotBtn1,
                                              &PtMessageBox::slotBtn2, &PtMessageBox::slotBtn3,
                                              &PtMessageBox::slotBtn4};
    const QFontMetrics metrics(font());
    int widestText = 64;
    for (int i = 0; i < 5; ++i) {
        if (texts[i].isEmpty())
            continue;
        auto* button = new QPushButton(texts[i], this);
        button->setObjectName(QStringLiteral("messageBox.button%1").arg(i));
        connect(button, &QPushButton::clicked, this, handlers[i]);
        if (i == defaultIndex) {
            button->setDefault(true);
            button->setFocus();
        }
        buttonRow->addWidget(button);
        m_buttons[i] = button;
        widestText = std::max(widestText, metrics.horizontalAdvance(texts[i]));
    }
    // One size for every button, so a row of short captions looks even.
    for (QPushButton* button : m_buttons) {
        if (button)
            button->setFixedSize(widestText + 16, button->sizeHint().height());
    }
    mainLayout->addLayout(buttonRow);
}

int PtMessageBox::display(QWidget* parent, QMessageBox::Icon icon, const QString& title, const QString& text,
                          const QString& button0Text, const QString& button1Text, const QString& button2Text,
                          const QString& button3Text, const QString& button4Text, int escapeIndex,
                          int defaultIndex)
{
    PtMessageBox box(parent, icon, title, text, button0Text, button1Text, button2Text, button3Text, button4Text,
                     escapeIndex, QString(), false, defaultIndex);
    const int result = box.exec();
    QCoreApplication::processEvents();
    return result;
}

int PtMessageBox::information(QWidget* parent, const QString& title, const QString& text,
                              const QString& button0Text, const QString& button1Text, const QString& button2Text,
                              int escapeIndex, int defaultIndex)
{
    return display(parent, QMessageBox::Information, title, text, button0Text, button1Text, button2Text,
                   QString(), QString(), escapeIndex, defaultIndex);
}

int PtMessageBox::warning(QWidget* parent, const QString& title, const QString& text, const QString& button0Text,
                          const QString& button1Text, const QString& button2Text, int escapeIndex,
                          int defaultIndex)
{
    return display(parent, QMessageBox::Warning, title, text, button0Text, button1Text, button2Text, QString(),
                   QString(), escapeIndex, defaultIndex);
}

int PtMessageBox::critical(QWidget* parent, const QString& title, const QString& text, const QString& button0Text,
                           const QString& button1Text, const QString& button2Text, int escapeIndex,
                           int defaultIndex)
{
    return display(parent, QMessageBox::Critical, title, text, button0Text, button1Text, button2Text, QString(),
                   QString(), escapeIndex, defaultIndex);
}

int PtMessageBox::dialog(QWidget* parent, const QString& title, const QString& text, const QString& button0Text,
                         const QString& button1Text, const QString& button2Text, const QString& button3Text,
                         const QString& button4Text, int escapeIndex, int defaultIndex)
{
    return display(parent, QMessageBox::NoIcon, title, text, button0Text, button1Text, button2Text, button3Text,
                   button4Text, escapeIndex, defaultIndex);
}

int PtMessageBox::dialogWithCB(QWidget* parent, const QString& title, const QString& text,
                               const QString& checkBoxText, bool& checked, bool withCancel, QMessageBox::Icon icon)
{
    const QString buttons[5] = {PtZString::getOKString(),
                                withCancel ? PtZString::getCancelString() : QString(), QString(), QString(),
                                QString()};
    return runWithCheckBox(parent, icon, title, text, checkBoxText, checked, buttons, 1);
}

int PtMessageBox::dialogWithCB(QWidget* parent, const QString& title, const QString& text,
                               const QString& checkBoxText, bool& checked, QMessageBox::Icon icon,
                               const QString& button0Text, const QString& button1Text, const QString& button2Text,
                               const QString& button3Text, const QString& button4Text, int escapeIndex)
{
    const QString buttons[5] = {button0Text, button1Text, button2Text, button3Text, button4Text};
    return runWithCheckBox(parent, icon, title, text, checkBoxText, checked, buttons, escapeIndex);
}

int PtMessageBox::runWithCheckBox(QWidget* parent, QMessageBox::Icon icon, const QString& title,
                                  const QString& text, const QString& checkBoxText, bool& checked,
                                  const QString (&buttons)[5], int escapeIndex)
{
    PtMessageBox box(parent, icon, title, text, buttons[0], buttons[1], buttons[2], buttons[3], buttons[4],
                     escapeIndex, checkBoxText, checked, -1);
    const int result = box.exec();
    QCoreApplication::processEvents();
    // Without a check box there is no state to report; the caller's value stays.
    if (box.m_checkBox)
        checked = box.getCheckBoxStatus();
    return result;
}

bool PtMessageBox::getCheckBoxStatus() const
{
    return m_checkBox && m_checkBox->isChecked();
}

void PtMessageBox::slotBtn0() { done(0); }
void PtMessageBox::slotBtn1() { done(1); }
void PtMessageBox::slotBtn2() { done(2); }
void PtMessageBox::slotBtn3() { done(3); }
void PtMessageBox::slotBtn4() { done(4); }

void PtMessageBox::reject()
{
    done(m_escapeIndex);
}
