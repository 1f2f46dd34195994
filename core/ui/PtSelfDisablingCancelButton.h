// A cancel button that disables itself when clicked, so that a cancel can be
// requested only once. UI thread only.
#pragma once

#include <QPushButton>

class PtSelfDisablingCancelButton : public QPushButton {
    Q_OBJECT

public:
    // Named "cancel button"; its own click disables it before anyone else
    // connected later sees the click.
    explicit PtSelfDisablingCancelButton(QWidget* parent = nullptr);

public slots:
    void slotClicked();
};
