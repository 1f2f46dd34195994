#include "PtProgressDialog.h"

#include <QCoreApplication>

#include <cmath>
#include <limits>

#include "PtProgressStep.h"
#include "PtSelfDisablingCancelButton.h"

namespace {

constexpr int kScale = 500;

} // namespace

PtProgressDialog::PtProgressDialog(QWidget* parent, const QString& labelText, const QString& cancelText,
                                   int steps)
    : QProgressDialog(QString(), cancelText, 0, kScale, parent,
                      Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::FramelessWindowHint |
                          Qt::MSWindowsFixedSizeDialogHint)
{
    setObjectName(QStringLiteral("pt progress dialog"));
    setModal(true);
    // The bar's end belongs to the scale: left to itself the toolkit would
    // reset the bar and hide the dialog the moment the value reached 500.
    // The dialog's creator closes it.
    setAutoReset(false);
    setAutoClose(false);

    auto* cancelButton = new PtSelfDisablingCancelButton(this);
    setCancelButton(cancelButton);
    cancelButton->setText(cancelText);

    if (!labelText.isEmpty()) {
        QString label = labelText;
        if (!label.contains(QLatin1String("...")))
            label += QLatin1String("...");
        setLabelText(label);
        setWindowTitle(QStringLiteral("Tessel 4.0"));
    }

    createProgressLevel(steps);
}

PtProgressDialog::~PtProgressDialog()
{
    qDeleteAll(m_levels);
}

void PtProgressDialog::createProgressLevel(int steps)
{
    m_levels.append(new PtProgressStep(steps, getNewCoefficient(steps)));
    m_currentLevel = m_levels.last();
}

void PtProgressDialog::setCurrentLevelFinished()
{
    if (m_levels.isEmpty())
        return;
    delete m_levels.takeLast();
    m_currentLevel = m_levels.isEmpty() ? nullptr : m_levels.last();
}

int PtProgressDialog::getCurrentLevelProgress() const
{
    return m_currentLevel ? m_currentLevel->getCurrentStep() : 0;
}

float PtProgressDialog::getNewCoefficient(int steps) const
{
    float coefficient = 1.0f / static_cast<float>(steps);
    if (m_currentLevel)
        coefficient *= m_currentLevel->getCoefficient();
    return coefficient;
}

int PtProgressDialog::calculateMasterProgress() const
{
    if (m_levels.isEmpty())
        return kScale;
    float sum = 0.0f;
    for (const PtProgressStep* level : m_levels)
        sum += static_cast<float>(level->getCurrentStep()) * level->getCoefficient();
    const double value = std::floor(static_cast<double>(sum * kScale));
    // Negative steps and zero-step levels can push the value anywhere; keep
    // the conversion to int defined.
    if (std::isnan(value))
        return 0;
    if (value < std::numeric_limits<int>::min())
        return std::numeric_limits<int>::min();
    if (value > std::numeric_limits<int>::max())
        return std::numeric_limits<int>::max();
    return static_cast<int>(value);
}

void PtProgressDialog::setProgress(int, int) {}

void PtProgressDialog::setTotalSteps(int) {}

void PtProgressDialog::setProgress(int step)
{
    if (m_currentLevel) {
        m_currentLevel->setCurrentStep(step);
        const int master = calculateMasterProgress();
        setValue(master);
        emit signalProgressChanged(master);
    }
    QCoreApplication::processEvents();
}

bool PtProgressDialog::progressCallback(void* dialog, int step, int newLevelSteps, bool levelFinished)
{
    QCoreApplication::processEvents();
    if (!dialog)
        return true;
    auto* self = static_cast<PtProgressDialog*>(dialog);
    if (self->wasCanceled())
        return false;
    if (step != -1)
        self->setProgress(step);
    else if (newLevelSteps != -1)
        self->createProgressLevel(newLevelSteps);
    else if (levelFinished)
        self->setCurrentLevelFinished();
    return true;
}
