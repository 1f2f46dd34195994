// Drives a modal dialog from inside its own event loop: `interact` runs with
// the active modal dialog once it is shown. A watchdog closes any dialog left
// open so that a broken interaction fails the test instead of hanging it.
#pragma once

#include <QDialog>

#include <functional>

// Schedules `interact` for the next modal dialog; call right before the code
// that runs the dialog.
void onNextModal(std::function<void(QDialog*)> interact);

// The result a dialog gets when the watchdog had to close it.
constexpr int kWatchdogResult = -999;
