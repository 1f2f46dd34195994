#include <gtest/gtest.h>

#include <QCheckBox>
#include <QFontMetrics>
#include <QLabel>
#include <QLayout>
#include <QPushButton>
#include <QTest>

#include <algorithm>

#include "ModalRunner.h"
#include "PtMessageBox.h"
#include "PtZString.h"

namespace {

const QString kTitle = QStringLiteral("Title");
const QString kText = QStringLiteral("Short text");

QPushButton* button(QWidget* box, int index)
{
    return box->findChild<QPushButton*>(QStringLiteral("messageBox.button%1").arg(index));
}

std::unique_ptr<PtMessageBox> makeBox(const QString& text, const QStringList& buttons,
                                      QMessageBox::Icon icon = QMessageBox::Information,
                                      const QString& checkBoxText = QString(), int defaultIndex = -1)
{
    QString b[5];
    for (int i = 0; i < 5 && i < buttons.size(); ++i)
        b[i] = buttons[i];
    return std::make_unique<PtMessageBox>(nullptr, icon, kTitle, text, b[0], b[1], b[2], b[3], b[4], 1,
                                          checkBoxText, false, defaultIndex);
}

void pressEscape(QDialog* dialog) { QTest::keyClick(dialog, Qt::Key_Escape); }
void useCloseControl(QDialog* dialog) { dialog->close(); }

} // namespace

TEST(PtMessageBox, NamesEveryWidgetAndUsesTheDialogFrame)
{
    auto box = std::make_unique<PtMessageBox>(nullptr, QMessageBox::Warning, kTitle, kText, "A", "B", "C", "D",
                                              "E", 0, "Remember", true, 2);
    EXPECT_TRUE(box->objectName().isEmpty());
    EXPECT_TRUE(box->isModal());
    EXPECT_EQ(box->windowTitle(), kTitle);
    const Qt::WindowFlags flags = box->windowFlags();
    EXPECT_TRUE(flags.testFlag(Qt::CustomizeWindowHint));
    EXPECT_TRUE(flags.testFlag(Qt::WindowTitleHint));
    EXPECT_TRUE(flags.testFlag(Qt::MSWindowsFixedSizeDialogHint));
    EXPECT_FALSE(flags.testFlag(Qt::WindowCloseButtonHint));

    ASSERT_NE(box->layout(), nullptr);
    EXPECT_EQ(box->layout()->spacing(), 16);
    EXPECT_EQ(box->layout()->contentsMargins(), QMargins(15, 15, 15, 15));

    auto* icon = box->findChild<QLabel*>("messageBox.icon");
    ASSERT_NE(icon, nullptr);
    EXPECT_FALSE(icon->isHidden());
    EXPECT_FALSE(icon->pixmap(Qt::ReturnByValue).isNull());
    EXPECT_EQ(icon->minimumWidth(), icon->maximumWidth());

    auto* label = box->findChild<QLabel*>("messageBox.label");
    ASSERT_NE(label, nullptr);
    EXPECT_EQ(label->text(), kText);
    EXPECT_EQ(label->textFormat(), Qt::PlainText);
    EXPECT_TRUE(label->wordWrap());

    auto* check = box->findChild<QCheckBox*>("messageBox.checkBox");
    ASSERT_NE(check, nullptr);
    EXPECT_EQ(check->text(), "Remember");
    EXPECT_TRUE(check->isChecked());
    EXPECT_TRUE(box->getCheckBoxStatus());

    const QString texts[5] = {"A", "B", "C", "D", "E"};
    for (int i = 0; i < 5; ++i) {
        QPushButton* b = button(box.get(), i);
        ASSERT_NE(b, nullptr) << i;
        EXPECT_EQ(b->text(), texts[i]);
        EXPECT_EQ(b->isDefault(), i == 2) << i;
    }
    EXPECT_EQ(box->focusWidget(), button(box.get(), 2));
}

TEST(PtMessageBox, EmptyTextsLeaveOutButtonsCheckBoxAndIcon)
{
    auto box = std::make_unique<PtMessageBox>(nullptr, QMessageBox::NoIcon, QString(), kText, "", "Only", "",
                                              "", "", 0, QString(), true, 0);
    EXPECT_TRUE(box->findChild<QLabel*>("messageBox.icon")->isHidden());
    EXPECT_EQ(box->findChild<QCheckBox*>("messageBox.checkBox"), nullptr);
    EXPECT_FALSE(box->getCheckBoxStatus());
    EXPECT_EQ(box->findChildren<QPushButton*>().size(), 1);
    ASSERT_NE(button(box.get(), 1), nullptr);
    EXPECT_FALSE(button(box.get(), 1)->isDefault()) << "default index 0 names no existing button";
    EXPECT_TRUE(box->windowTitle().isEmpty());
}

TEST(PtMessageBox, EscapeAndCloseControlGiveTheEscapeIndex)
{
    const struct {
        int escapeIndex;
        void (*close)(QDialog*);
        const char* how;
    } rows[] = {
        {0, pressEscape, "Escape"}, {1, pressEscape, "Escape"}, {4, pressEscape, "Escape"},
        {0, useCloseControl, "close"}, {3, useCloseControl, "close"},
    };
    for (const auto& row : rows) {
        onNextModal(row.close);
        const int result = PtMessageBox::dialog(nullptr, kTitle, kText, "A", "B", "C", "D", "E", row.escapeIndex, 0);
        EXPECT_EQ(result, row.escapeIndex) << row.how;
    }
}

TEST(PtMessageBox, BoxWithoutButtonsClosesOnlyWithEscape)
{
    onNextModal([](QDialog* dialog) {
        EXPECT_TRUE(dialog->findChildren<QPushButton*>().isEmpty());
        QTest::keyClick(dialog, Qt::Key_Return);
        QTest::keyClick(dialog, Qt::Key_Enter);
        QTest::keyClick(dialog, Qt::Key_Space);
        EXPECT_TRUE(dialog->isVisible()) << "only Escape may close a box without buttons";
        QTest::keyClick(dialog, Qt::Key_Escape);
    });
    EXPECT_EQ(PtMessageBox::warning(nullptr, kTitle, kText, "", "", "", 2, -1), 2);
}

TEST(PtMessageBox, InformationWithDefaultZeroStillEscapesToOne)
{
    onNextModal([](QDialog* dialog) {
        EXPECT_TRUE(button(dialog, 0)->isDefault());
        EXPECT_EQ(button(dialog, 3), nullptr);
        EXPECT_EQ(button(dialog, 4), nullptr);
        pressEscape(dialog);
    });
    EXPECT_EQ(PtMessageBox::information(nullptr, kTitle, kText, "&Yes", "&No", "", 1, 0), 1);

    onNextModal([](QDialog* dialog) { QTest::keyClick(dialog, Qt::Key_Return); });
    EXPECT_EQ(PtMessageBox::information(nullptr, kTitle, kText, "&Yes", "&No", "", 1, 0), 0)
        << "Return presses the default button";
}

TEST(PtMessageBox, EachButtonReturnsItsIndex)
{
    for (int clicked = 0; clicked < 5; ++clicked) {
        onNextModal([clicked](QDialog* dialog) { QTest::mouseClick(button(dialog, clicked), Qt::LeftButton); });
        EXPECT_EQ(PtMessageBox::dialog(nullptr, kTitle, kText, "A", "B", "C", "D", "E", 4, -1), clicked);
    }
    onNextModal([](QDialog* dialog) {
        EXPECT_TRUE(dialog->findChild<QLabel*>("messageBox.icon")->isVisible());
        EXPECT_EQ(dialog->findChildren<QPushButton*>().size(), 1);
        QTest::mouseClick(button(dialog, 2), Qt::LeftButton);
    });
    EXPECT_EQ(PtMessageBox::critical(nullptr, kTitle, kText, "", "", "Two", 0, -1), 2)
        << "a lone button keeps its own index";
}

TEST(PtMessageBox, LabelWidthFollowsTheTextUpTo340ThenWrapsAt360)
{
    const QFontMetrics metrics(makeBox(kText, {"OK"})->font());
    // Grow a text until it reaches 340 pixels: the last one below keeps its
    // width plus 20, the first one at or above is set to 360.
    QString text;
    QString lastShort;
    while (metrics.horizontalAdvance(text) < 340) {
        lastShort = text;
        text += QLatin1Char('m');
    }
    const struct {
        QString text;
        int expected;
    } rows[] = {
        {kText, metrics.horizontalAdvance(kText) + 20},
        {lastShort, metrics.horizontalAdvance(lastShort) + 20},
        {text, 360},
        {QString(200, QLatin1Char('w')), 360},
        {QString(), 20},
    };
    for (const auto& row : rows) {
        auto box = makeBox(row.text, {"OK"});
        auto* label = box->findChild<QLabel*>("messageBox.label");
        EXPECT_EQ(label->minimumWidth(), row.expected) << row.text.size();
        EXPECT_EQ(label->maximumWidth(), row.expected) << row.text.size();
    }
    EXPECT_LT(metrics.horizontalAdvance(lastShort) + 20, 360);
}

TEST(PtMessageBox, ButtonsShareOneSizeFromTheWidestText)
{
    const QStringList rows[] = {
        {"OK"},
        {"&Yes", "&No"},
        {"OK", "A caption much wider than sixty-four pixels", "", "x"},
        {"", "", "", "", "Cancel"},
    };
    for (const QStringList& texts : rows) {
        auto box = makeBox(kText, texts);
        const QFontMetrics metrics(box->font());
        int widest = 64;
        for (const QString& t : texts)
            widest = std::max(widest, metrics.horizontalAdvance(t));
        const auto buttons = box->findChildren<QPushButton*>();
        ASSERT_EQ(buttons.size(), texts.size() - texts.count(QString()));
        for (QPushButton* b : buttons) {
            EXPECT_EQ(b->minimumWidth(), widest + 16) << b->objectName().toStdString();
            EXPECT_EQ(b->maximumWidth(), widest + 16);
            EXPECT_EQ(b->minimumHeight(), b->sizeHint().height());
            EXPECT_EQ(b->maximumHeight(), b->sizeHint().height());
        }
    }
}

TEST(PtMessageBox, DialogWithCBWritesTheCheckBoxBackWhateverClosedIt)
{
    enum Action { ClickOk, ClickCancel, Escape, CloseControl };
    const struct {
        bool withCancel;
        bool initially;
        bool toggle;
        Action action;
        int expected;
    } rows[] = {
        {true, false, true, ClickOk, 0},       {true, true, true, ClickOk, 0},
        {true, false, true, ClickCancel, 1},   {true, true, false, ClickCancel, 1},
        {true, false, true, Escape, 1},        {true, true, true, CloseControl, 1},
        {false, false, true, Escape, 1},       {false, true, true, ClickOk, 0},
        {false, true, false, CloseControl, 1},
    };
    for (const auto& row : rows) {
        onNextModal([row](QDialog* dialog) {
            EXPECT_EQ(button(dialog, 0)->text(), PtZString::getOKString());
            QPushButton* cancel = button(dialog, 1);
            ASSERT_EQ(cancel != nullptr, row.withCancel);
            if (cancel) {
                EXPECT_EQ(cancel->text(), PtZString::getCancelString());
            }
            EXPECT_EQ(dialog->findChildren<QPushButton*>().size(), row.withCancel ? 2 : 1);
            auto* check = dialog->findChild<QCheckBox*>("messageBox.checkBox");
            EXPECT_EQ(check->isChecked(), row.initially);
            if (row.toggle)
                QTest::mouseClick(check, Qt::LeftButton);
            switch (row.action) {
            case ClickOk: QTest::mouseClick(button(dialog, 0), Qt::LeftButton); break;
            case ClickCancel: QTest::mouseClick(cancel, Qt::LeftButton); break;
            case Escape: pressEscape(dialog); break;
            case CloseControl: useCloseControl(dialog); break;
            }
        });
        bool checked = row.initially;
        const int result = PtMessageBox::dialogWithCB(nullptr, kTitle, kText, "Do not ask again", checked,
                                                      row.withCancel, QMessageBox::Question);
        EXPECT_EQ(result, row.expected);
        EXPECT_EQ(checked, row.initially != row.toggle);
    }
}

TEST(PtMessageBox, DialogWithCBAndFreeButtonsUsesTheGivenEscapeIndex)
{
    onNextModal([](QDialog* dialog) {
        EXPECT_EQ(dialog->findChildren<QPushButton*>().size(), 3);
        QTest::mouseClick(dialog->findChild<QCheckBox*>("messageBox.checkBox"), Qt::LeftButton);
        QTest::mouseClick(button(dialog, 3), Qt::LeftButton);
    });
    bool checked = false;
    EXPECT_EQ(PtMessageBox::dialogWithCB(nullptr, kTitle, kText, "Remember", checked, QMessageBox::Warning, "A", "",
                                         "C", "D", "", 2),
              3);
    EXPECT_TRUE(checked);

    onNextModal(pressEscape);
    EXPECT_EQ(PtMessageBox::dialogWithCB(nullptr, kTitle, kText, "Remember", checked, QMessageBox::NoIcon, "A", "B",
                                         "", "", "", 2),
              2);
    EXPECT_TRUE(checked);
}

TEST(PtMessageBox, DialogWithCBWithoutCheckBoxTextKeepsTheCallersValue)
{
    onNextModal(pressEscape);
    bool checked = true;
    EXPECT_EQ(PtMessageBox::dialogWithCB(nullptr, kTitle, kText, QString(), checked, false, QMessageBox::NoIcon), 1);
    EXPECT_TRUE(checked);
}
