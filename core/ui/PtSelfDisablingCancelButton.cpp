#include "PtSelfDisablingCancelButton.h"

PtSelfDisablingCancelButton::PtSelfDisablingCancelButton(QWidget* parent)
    : QPushButton(parent)
{
    setObjectName(QStringLiteral("cancel button"));
    connect(this, &QPushButton::clicked, this, &PtSelfDisablingCancelButton::slotClicked);
}

void PtSelfDisablingCancelButton::slotClicked()
{
    setEnabled(false);
}
