// The plug-in's own modal message box: up to five buttons with free texts and
// an optional check box, laid out the same way on every platform. The result
// of a box is the index (0 to 4) of the button that closed it, or the escape
// index when it was closed with Escape or the window's close control.
//
// UI thread only. The static functions build the box on their own stack, run
// it modally and destroy it before they return.
#pragma once

#include <QDialog>
#include <QMessageBox>
#include <QString>

class QCheckBox;
class QLabel;
class QPushButton;

class PtMessageBox : public QDialog {
    Q_OBJECT

public:
    // An empty button text means no such button; an empty check-box text
    // means no check box; a default index that matches no button (callers
    // use -1) means no default button. Button i is named
    // "messageBox.button<i>", the texts "messageBox.icon" / "messageBox.label",
    // the check box "messageBox.checkBox".
    PtMessageBox(QWidget* parent, QMessageBox::Icon icon, const QString& title, const QString& text,
                 const QString& button0Text, const QString& button1Text, const QString& button2Text,
                 const QString& button3Text, const QString& button4Text, int escapeIndex,
                 const QString& checkBoxText, bool checked, int defaultIndex);

    // Builds a box without check box, runs it modally, lets the UI process
    // pending events once and returns the result index.
    static int display(QWidget* parent, QMessageBox::Icon icon, const QString& title, const QString& text,
                       const QString& button0Text, const QString& button1Text, const QString& button2Text,
                       const QString& button3Text, const QString& button4Text, int escapeIndex,
                       int defaultIndex);

    // display with the information, warning or critical icon and three buttons.
    static int information(QWidget* parent, const QString& title, const QString& text,
                           const QString& button0Text, const QString& button1Text,
                           const QString& button2Text, int escapeIndex, int defaultIndex);
    static int warning(QWidget* parent, const QString& title, const QString& text,
                       const QString& button0Text, const QString& button1Text, const QString& button2Text,
                       int escapeIndex, int defaultIndex);
    static int critical(QWidget* parent, const QString& title, const QString& text,
                        const QString& button0Text, const QString& button1Text, const QString& button2Text,
                        int escapeIndex, int defaultIndex);

    // display without icon.
    static int dialog(QWidget* parent, const QString& title, const QString& text, const QString& button0Text,
                      const QString& button1Text, const QString& button2Text, const QString& button3Text,
                      const QString& button4Text, int escapeIndex, int defaultIndex);

    // OK, and Cancel when withCancel is set; escape index 1, no default
    // button. The check box starts as `checked` and its final state is
    // written back to `checked` whichever way the box was closed. Returns
    // 0 for OK, 1 for Cancel or Escape.
    static int dialogWithCB(QWidget* parent, const QString& title, const QString& text,
                            const QString& checkBoxText, bool& checked, bool withCancel, QMessageBox::Icon icon);

    // As above with free buttons and the given escape index.
    static int dialogWithCB(QWidget* parent, const QString& title, const QString& text,
                            const QString& checkBoxText, bool& checked, QMessageBox::Icon icon,
                            const QString& button0Text, const QString& button1Text, const QString& button2Text,
                            const QString& button3Text, const QString& button4Text, int escapeIndex);

    // The check box's state; false when the box has none.
    bool getCheckBoxStatus() const;

public slots:
    void slotBtn0();
    void slotBtn1();
    void slotBtn2();
    void slotBtn3();
    void slotBtn4();

    // Escape and the close control end here: the result is the escape index.
    void reject() override;

private:
    static int runWithCheckBox(QWidget* parent, QMessageBox::Icon icon, const QString& title,
                               const QString& text, const QString& checkBoxText, bool& checked,
                               const QString (&buttons)[5], int escapeIndex);

    int m_escapeIndex;
    QCheckBox* m_checkBox = nullptr;
    QLabel* m_iconLabel = nullptr;
    QLabel* m_textLabel = nullptr;
    QPushButton* m_buttons[5] = {};
};
