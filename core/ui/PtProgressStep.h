// One level of a nested progress: a stage that knows only its own number of
// steps and how far it has come. The coefficient is the share of the whole
// bar that one step of this level is worth; it is kept in 32-bit float so
// that the combined value rounds the same way everywhere.
#pragma once

class PtProgressStep {
public:
    PtProgressStep(int totalSteps, float coefficient);
    virtual ~PtProgressStep();

    int getTotalSteps() const { return m_totalSteps; }
    int getCurrentStep() const { return m_currentStep; }
    float getCoefficient() const { return m_coefficient; }

    // Clamped above to the total; values below zero are kept as they are.
    void setCurrentStep(int step);

private:
    int m_totalSteps;
    int m_currentStep = 0;
    float m_coefficient;
};
