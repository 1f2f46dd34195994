#include <gtest/gtest.h>

#include <QLabel>
#include <QProgressBar>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <memory>
#include <vector>

#include "PtProgressDialog.h"
#include "PtSelfDisablingCancelButton.h"

namespace {

std::unique_ptr<PtProgressDialog> makeDialog(int steps, const QString& label = QStringLiteral("Copying"))
{
    return std::make_unique<PtProgressDialog>(nullptr, label, QStringLiteral("Stop"), steps);
}

int lastSignal(const QSignalSpy& spy)
{
    return spy.isEmpty() ? -1 : spy.last().at(0).toInt();
}

} // namespace

TEST(PtProgressDialog, BuildsAFramelessModalDialogOnAFixedScale)
{
    auto dialog = makeDialog(4);
    EXPECT_EQ(dialog->objectName(), "pt progress dialog");
    EXPECT_TRUE(dialog->isModal());
    const Qt::WindowFlags flags = dialog->windowFlags();
    for (Qt::WindowType hint : {Qt::CustomizeWindowHint, Qt::WindowTitleHint, Qt::FramelessWindowHint,
                                Qt::MSWindowsFixedSizeDialogHint})
        EXPECT_TRUE(flags.testFlag(hint)) << hint;
    EXPECT_EQ(dialog->minimum(), 0);
    EXPECT_EQ(dialog->maximum(), 500);
    EXPECT_EQ(dialog->windowTitle(), "Tessel 4.0");

    auto* cancel = dialog->findChild<PtSelfDisablingCancelButton*>("cancel button");
    ASSERT_NE(cancel, nullptr);
    EXPECT_EQ(cancel->text(), "Stop");
    EXPECT_TRUE(cancel->isEnabled());
}

TEST(PtProgressDialog, LabelGetsAnEllipsisOnlyWhenItHasNone)
{
    const struct {
        const char* given;
        const char* shown;
        const char* title;
    } rows[] = {
        {"Copying", "Copying...", "Tessel 4.0"},
        {"Deleting Photos...", "Deleting Photos...", "Tessel 4.0"},
        {"Wait... converting", "Wait... converting", "Tessel 4.0"},
        {"Two dots..", "Two dots.....", "Tessel 4.0"},
        {"", "", ""},
    };
    for (const auto& row : rows) {
        auto dialog = makeDialog(1, QString::fromUtf8(row.given));
        EXPECT_EQ(dialog->labelText(), QString::fromUtf8(row.shown)) << row.given;
        EXPECT_EQ(dialog->windowTitle(), QString::fromUtf8(row.title)) << row.given;
    }
}

TEST(PtProgressDialog, CombinesNestedLevelsIntoTheMasterValue)
{
    const struct {
        std::vector<std::pair<int, int>> levels; // steps, then the step reached
        int expected;
    } rows[] = {
        {{{4, 2}, {10, 5}}, 312},
        {{{3, 3}}, 500},
        {{{3, 1}}, 166},
        {{{3, 2}}, 333},
        {{{4, 0}}, 0},
        {{{2, 1}, {2, 1}, {2, 1}}, 437},
    };
    for (const auto& row : rows) {
        auto dialog = makeDialog(row.levels.front().first);
        QSignalSpy spy(dialog.get(), &PtProgressDialog::signalProgressChanged);
        for (size_t i = 0; i < row.levels.size(); ++i) {
            if (i > 0)
                dialog->createProgressLevel(row.levels[i].first);
            dialog->setProgress(row.levels[i].second);
        }
        EXPECT_EQ(dialog->calculateMasterProgress(), row.expected);
        EXPECT_EQ(lastSignal(spy), row.expected);
        EXPECT_EQ(dialog->value(), row.expected);
        EXPECT_EQ(spy.size(), static_cast<int>(row.levels.size()));
    }
}

TEST(PtProgressDialog, TheEndOfTheScaleIsShownUntilTheCreatorCloses)
{
    // Regression: the toolkit's auto-reset and auto-close took the bar back to
    // empty and hid the dialog as soon as the value reached the maximum.
    auto dialog = makeDialog(2);
    dialog->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(dialog.get()));
    auto* bar = dialog->findChild<QProgressBar*>();
    ASSERT_NE(bar, nullptr);

    dialog->createProgressLevel(2);
    const struct {
        int step;
        int newLevel;
        bool finished;
        int shown;
    } calls[] = {{1, -1, false, 125}, {2, -1, false, 250}, {-1, -1, true, 250}, {1, -1, false, 250},
                 {2, -1, false, 500}, {2, -1, false, 500}};
    for (const auto& call : calls) {
        ASSERT_TRUE(PtProgressDialog::progressCallback(dialog.get(), call.step, call.newLevel, call.finished));
        EXPECT_EQ(bar->value(), call.shown) << call.step;
        EXPECT_EQ(dialog->value(), call.shown) << call.step;
    }
    QTest::qWait(20);
    EXPECT_EQ(bar->value(), 500);
    EXPECT_EQ(bar->text(), QStringLiteral("100%"));
    EXPECT_TRUE(dialog->isVisible()) << "reaching the end must not close the dialog";
    EXPECT_FALSE(dialog->wasCanceled());

    dialog->close();
    EXPECT_FALSE(dialog->isVisible());
}

TEST(PtProgressDialog, CoefficientsMultiplyDownTheLevelsInFloat)
{
    auto dialog = makeDialog(4);
    EXPECT_FLOAT_EQ(dialog->getNewCoefficient(10), 0.025f);
    dialog->createProgressLevel(10);
    EXPECT_EQ(dialog->getNewCoefficient(3), 1.0f / 3.0f * 0.025f);
    EXPECT_EQ(makeDialog(1)->getNewCoefficient(3), 1.0f / 3.0f * 1.0f);
}

TEST(PtProgressDialog, StepsAboveTheTotalAreClampedNegativeOnesKept)
{
    const struct {
        int steps;
        int given;
        int kept;
        int master;
    } rows[] = {
        {3, 7, 3, 500}, {3, 3, 3, 500}, {4, -2, -2, -250}, {4, -1, -1, -125}, {10, 11, 10, 500},
    };
    for (const auto& row : rows) {
        auto dialog = makeDialog(row.steps);
        QSignalSpy spy(dialog.get(), &PtProgressDialog::signalProgressChanged);
        dialog->setProgress(row.given);
        EXPECT_EQ(dialog->getCurrentLevelProgress(), row.kept) << row.given;
        EXPECT_EQ(dialog->calculateMasterProgress(), row.master) << row.given;
        EXPECT_EQ(lastSignal(spy), row.master) << row.given;
    }
}

TEST(PtProgressDialog, FinishingALevelReturnsToTheOneAbove)
{
    auto dialog = makeDialog(4);
    dialog->setProgress(1);
    dialog->createProgressLevel(10);
    EXPECT_EQ(dialog->getCurrentLevelProgress(), 0);
    dialog->setProgress(5);
    EXPECT_EQ(dialog->calculateMasterProgress(), 187);
    dialog->setCurrentLevelFinished();
    EXPECT_EQ(dialog->getCurrentLevelProgress(), 1);
    EXPECT_EQ(dialog->calculateMasterProgress(), 125);
    EXPECT_EQ(dialog->getNewCoefficient(2), 0.125f);
}

TEST(PtProgressDialog, SetProgressWithoutALevelOnlyProcessesEvents)
{
    auto dialog = makeDialog(4);
    dialog->setCurrentLevelFinished();
    dialog->setCurrentLevelFinished(); // nothing left to close
    EXPECT_EQ(dialog->getCurrentLevelProgress(), 0);
    EXPECT_EQ(dialog->calculateMasterProgress(), 500);

    QSignalSpy spy(dialog.get(), &PtProgressDialog::signalProgressChanged);
    bool delivered = false;
    QTimer::singleShot(0, [&delivered] { delivered = true; });
    const int valueBefore = dialog->value();
    dialog->setProgress(2);
    EXPECT_TRUE(delivered) << "pending events are processed even without a level";
    EXPECT_TRUE(spy.isEmpty());
    EXPECT_EQ(dialog->value(), valueBefore);
}

TEST(PtProgressDialog, CallbackDoesOneThingInPriorityOrder)
{
    const struct {
        int step;
        int newLevel;
        bool finished;
        int levelProgressAfter;
        int masterAfter;
    } rows[] = {
        // The dialog starts with 4 steps at step 2 and a nested level of 2 at step 1.
        {3, 5, true, 2, 375},    // the step wins: the inner level clamps 3 to its total
        {-1, 5, true, 0, 312},   // then the new level
        {-1, -1, true, 2, 250},  // then closing
        {-1, -1, false, 1, 312}, // nothing asked: nothing changes
    };
    for (const auto& row : rows) {
        auto dialog = makeDialog(4);
        dialog->setProgress(2);
        dialog->createProgressLevel(2);
        dialog->setProgress(1);
        EXPECT_TRUE(PtProgressDialog::progressCallback(dialog.get(), row.step, row.newLevel, row.finished));
        EXPECT_EQ(dialog->getCurrentLevelProgress(), row.levelProgressAfter) << row.step << row.newLevel;
        EXPECT_EQ(dialog->calculateMasterProgress(), row.masterAfter) << row.step << row.newLevel;
    }
    EXPECT_TRUE(PtProgressDialog::progressCallback(nullptr, 1, -1, false));
}

TEST(PtProgressDialog, CancelButtonDisablesItselfAndTheNextCallbackCancels)
{
    auto dialog = makeDialog(4);
    dialog->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(dialog.get()));
    auto* cancel = dialog->findChild<PtSelfDisablingCancelButton*>("cancel button");
    ASSERT_NE(cancel, nullptr);
    QSignalSpy canceled(dialog.get(), &QProgressDialog::canceled);

    EXPECT_TRUE(PtProgressDialog::progressCallback(dialog.get(), 1, -1, false));
    QTest::mouseClick(cancel, Qt::LeftButton);
    EXPECT_FALSE(cancel->isEnabled());
    EXPECT_TRUE(dialog->wasCanceled());
    QTest::mouseClick(cancel, Qt::LeftButton);
    EXPECT_EQ(canceled.size(), 1) << "a disabled button cannot cancel twice";

    EXPECT_FALSE(PtProgressDialog::progressCallback(dialog.get(), 2, -1, false));
    EXPECT_FALSE(PtProgressDialog::progressCallback(dialog.get(), -1, 3, false));
    EXPECT_EQ(dialog->getCurrentLevelProgress(), 1) << "a cancelled callback changes nothing";
}
