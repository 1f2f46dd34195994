// A modal progress dialog for work made of nested stages (all files, one
// file, the conversion of that file). Each open level knows only its own
// steps; the dialog combines them into one bar on a fixed scale of 0 to 500.
//
// Work runs on the UI thread between calls; responsiveness comes from the
// event processing that setProgress and progressCallback do. UI thread only.
#pragma once

#include <QList>
#include <QProgressDialog>
#include <QString>

class PtProgressStep;

class PtProgressDialog : public QProgressDialog {
    Q_OBJECT

public:
    // Range 0 to 500, a self-disabling cancel button with cancelText, and a
    // first level of `steps`. A non-empty label gets "..." appended unless it
    // already holds it somewhere, and the window its product title. Reaching
    // 500 neither resets the bar nor closes the dialog: its creator closes it.
    PtProgressDialog(QWidget* parent, const QString& labelText, const QString& cancelText, int steps);
    // Destroys every level still open.
    ~PtProgressDialog() override;

    // Opens a nested level of `steps` under the current one.
    void createProgressLevel(int steps);
    // Closes the innermost level; the one above becomes current. Does nothing
    // when no level is open.
    void setCurrentLevelFinished();

    // The innermost level's current step, 0 when there is none.
    int getCurrentLevelProgress() const;
    // 1 / steps, times the current level's coefficient when there is one,
    // computed in 32-bit float.
    float getNewCoefficient(int steps) const;
    // Sum of step x coefficient over all levels, times 500, rounded down;
    // 500 when no level is open.
    int calculateMasterProgress() const;

    // The entry for plain work code. Processes pending events, then does
    // exactly one of: set the step (step != -1), open a level of
    // newLevelSteps (!= -1), close the current level (levelFinished).
    // Returns false only when the user has cancelled; a null dialog is
    // accepted and only processes events.
    static bool progressCallback(void* dialog, int step, int newLevelSteps, bool levelFinished);

signals:
    void signalProgressChanged(int masterValue);

public slots:
    virtual void setProgress(int step, int total);
    virtual void setTotalSteps(int steps);
    // Sets the innermost level's step (clamped to its total), shows the
    // combined value and emits signalProgressChanged with it. Always
    // processes pending events once, even with no level open.
    virtual void setProgress(int step);

private:
    QList<PtProgressStep*> m_levels;
    PtProgressStep* m_currentLevel = nullptr;
};
