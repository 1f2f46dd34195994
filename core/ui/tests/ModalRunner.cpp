#include "ModalRunner.h"

#include <QApplication>
#include <QPointer>
#include <QTimer>

#include <gtest/gtest.h>

void onNextModal(std::function<void(QDialog*)> interact)
{
    QTimer::singleShot(0, [interact] {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!dialog) {
            ADD_FAILURE() << "no modal dialog is showing";
            return;
        }
        QPointer<QDialog> guard(dialog);
        interact(dialog);
        QTimer::singleShot(5000, [guard] {
            if (guard && guard->isVisible()) {
                ADD_FAILURE() << "the dialog stayed open";
                guard->done(kWatchdogResult);
            }
        });
    });
}
