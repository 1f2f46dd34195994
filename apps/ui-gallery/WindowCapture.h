// Shows a top-level widget, waits until the window system has it on screen
// and painted, and grabs the window's pixels from the screen.
#pragma once

#include <QImage>
#include <QString>

class QWidget;

// A null image and a reason when the window never became visible.
QImage captureWindow(QWidget* window, QString* error);
