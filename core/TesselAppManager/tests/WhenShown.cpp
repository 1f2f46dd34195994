#include "WhenShown.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QTimer>

#include <gtest/gtest.h>

void whenShown(const char* className, std::function<void(QDialog*)> interact)
{
    auto* poll = new QTimer;
    poll->setInterval(10);
    const QDeadlineTimer deadline(5000);
    const QByteArray wanted(className);
    QObject::connect(poll, &QTimer::timeout, [poll, deadline, wanted, interact] {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (dialog && dialog->isVisible() && dialog->inherits(wanted.constData())) {
            poll->stop();
            poll->deleteLater();
            interact(dialog);
            return;
        }
        if (!deadline.hasExpired())
            return;
        poll->stop();
        poll->deleteLater();
        ADD_FAILURE() << "no " << wanted.constData() << " was shown";
        if (dialog)
            dialog->reject();
    });
    poll->start();
}
