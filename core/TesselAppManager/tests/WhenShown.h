// Answers the plug-in's modal dialogs from inside their own event loops.
#pragma once

#include <QDialog>

#include <functional>

// Runs `interact` with the first visible modal dialog of class `className`
// (a QMetaObject class name) that becomes active within five seconds. When
// none does, the test fails and whatever modal dialog is up is rejected, so
// a wrong dialog cannot hang the test.
void whenShown(const char* className, std::function<void(QDialog*)> interact);
