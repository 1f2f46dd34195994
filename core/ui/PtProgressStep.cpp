#include "PtProgressStep.h"

#include <algorithm>

PtProgressStep::PtProgressStep(int totalSteps, float coefficient)
    : m_totalSteps(totalSteps)
    , m_coefficient(coefficient)
{
}

PtProgressStep::~PtProgressStep() = default;

void PtProgressStep::setCurrentStep(int step)
{
    m_currentStep = std::min(step, m_totalSteps);
}
