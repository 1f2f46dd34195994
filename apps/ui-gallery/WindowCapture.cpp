#include "WindowCapture.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>
#include <QThread>
#include <QWidget>
#include <QWindow>

namespace {

void processEventsFor(int milliseconds)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < milliseconds) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        QThread::msleep(10);
    }
}

} // namespace

QImage captureWindow(QWidget* window, QString* error)
{
    window->show();
    window->raise();
    window->activateWindow();

    QElapsedTimer timer;
    timer.start();
    while (!(window->windowHandle() && window->windowHandle()->isExposed())) {
        if (timer.elapsed() > 5000) {
            *error = QStringLiteral("the window was never exposed");
            return QImage();
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        QThread::msleep(10);
    }
    // The X server paints asynchronously; give it a moment after exposure.
    processEventsFor(300);

    QScreen* screen = window->windowHandle()->screen();
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    const QPixmap shot = screen->grabWindow(window->winId());
    if (shot.isNull()) {
        *error = QStringLiteral("the screen returned no pixels for the window");
        return QImage();
    }
    return shot.toImage();
}
