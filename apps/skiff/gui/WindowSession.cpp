#include "WindowSession.h"

#include <QApplication>
#include <QDialog>
#include <QTimer>

#include <cstdio>

#include "Handshake.h"
#include "HostReport.h"
#include "HostWindow.h"
#include "PtZString.h"

namespace {

bool saveWindow(QWidget& window, const QString& path)
{
    if (window.grab().save(path, "PNG"))
        return true;
    std::fprintf(stderr, "skiff: cannot write the screenshot %s\n", qUtf8Printable(path));
    return false;
}

int runWindow(HostWindow& window, const CommandLine& options)
{
    window.show();
    if (options.screenshot.isEmpty() && !options.start)
        return QApplication::exec();

    // A picture-taking run has nobody in front of it: every dialog the
    // plug-in opens is closed as Escape would close it (No to a question).
    QTimer unattended;
    if (!options.screenshot.isEmpty()) {
        QObject::connect(&unattended, &QTimer::timeout, [] {
            if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget()))
                dialog->reject();
        });
        unattended.start(200);
    }
    int status = 0;
    bool saved = false;
    if (!options.screenshot.isEmpty())
        window.onItemDone = [&](int done, int total) {
            if (!saved && done == (total + 1) / 2)
                saved = saveWindow(window, options.screenshot);
        };
    // Runs once the window is on screen, inside the event loop.
    QTimer::singleShot(0, &window, [&] {
        if (options.start)
            status = window.startDownload();
        else
            saved = saveWindow(window, options.screenshot);
        if (!options.screenshot.isEmpty())
            QApplication::quit();
    });
    const int loop = QApplication::exec();
    if (!options.screenshot.isEmpty() && !saved)
        return 1;
    return loop != 0 ? loop : status;
}

} // namespace

int runWindowSession(FxPluginMainFunc entry, const CommandLine& options)
{
    HostReport handshake;
    int status = 1;
    {
        Handshake session(entry, handshake);
        if (session.start()) {
            // The plug-in's dialogs that the host opens (messages, questions,
            // progress) speak the host's language.
            PtZString::openZStringDict(false);
            {
                HostWindow window(session.source(), options);
                if (!window.error().isEmpty())
                    std::fprintf(stderr, "skiff: %s\n", qUtf8Printable(window.error()));
                status = window.error().isEmpty() ? runWindow(window, options) : 1;
            }
            PtZString::closeZStringDict();
        }
        session.finish();
    }
    if (handshake.failed()) {
        std::fputs(handshake.text().toUtf8().constData(), stderr);
        return 1;
    }
    return status;
}
