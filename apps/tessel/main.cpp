// tessel [--headless] [--script TEXT | --run-script FILE]... [--screenshot PNG]
//
// Registers itself as "tessel" when the registry does not know it yet, then
// runs the given scripts in order, printing one line per call a script
// makes and one per result. Headless with scripts it then exits (1 when a
// script failed). Otherwise it serves "tessel" over TesselTalk, printing
// each script it receives and its answer, until its window is closed or it
// gets SIGTERM or SIGINT. Without a display it runs headless, as it does
// when the messaging system launches it on a machine without one. With
// --screenshot it saves its window once the scripts have run, and quits.
#include "BrowserTalk.h"
#include "BrowserWindow.h"
#include "ScriptApp.h"
#include "ScriptHost.h"
#include "SelfRegistration.h"

#include "TesselTalkThread.h"

#include <QApplication>
#include <QFile>
#include <QPixmap>
#include <QSocketNotifier>
#include <QTextStream>
#include <QTimer>

#include <memory>

#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {
const char kUsage[] = "usage: tessel [--headless] [--script TEXT | --run-script FILE]... [--screenshot PNG]\n";

QTextStream& out()
{
    static QTextStream stream(stdout);
    return stream;
}

// The scripts of the command line in order; false, with a message, on a
// bad argument or an unreadable file.
bool collectScripts(const QStringList& args, QStringList& scripts)
{
    QTextStream err(stderr);
    for (int i = 1; i < args.size(); ++i) {
        const QString& arg = args[i];
        if (arg == QLatin1String("--headless"))
            continue;
        if (arg == QLatin1String("--screenshot") && i + 1 < args.size()) {
            ++i;
            continue;
        }
        const bool inlineText = arg == QLatin1String("--script");
        if ((!inlineText && arg != QLatin1String("--run-script")) || i + 1 == args.size()) {
            err << "tessel: unknown or incomplete option " << arg << '\n' << kUsage;
            return false;
        }
        const QString value = args[++i];
        if (inlineText) {
            scripts << value;
            continue;
        }
        QFile file(value);
        if (!file.open(QIODevice::ReadOnly)) {
            err << "tessel: cannot read " << value << ": " << file.errorString() << '\n';
            return false;
        }
        scripts << QString::fromUtf8(file.readAll());
    }
    return true;
}

bool displayAvailable()
{
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
        if (!qEnvironmentVariableIsEmpty(name))
            return true;
    }
    return false;
}

// SIGTERM and SIGINT end the event loop, so the endpoint is released on
// the way out. The handler only writes a byte; the loop does the rest.
int gSignalPipe[2] = {-1, -1};

void onQuitSignal(int)
{
    const char byte = 1;
    (void)!::write(gSignalPipe[1], &byte, 1);
}

bool quitOnSignals(QCoreApplication& application)
{
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, gSignalPipe) != 0)
        return false;
    auto* notifier = new QSocketNotifier(gSignalPipe[0], QSocketNotifier::Read, &application);
    QObject::connect(notifier, &QSocketNotifier::activated, &application, &QCoreApplication::quit);
    struct sigaction action = {};
    action.sa_handler = onQuitSignal;
    sigemptyset(&action.sa_mask);
    return sigaction(SIGTERM, &action, nullptr) == 0 && sigaction(SIGINT, &action, nullptr) == 0;
}

bool runAll(ScriptHost& host, const QStringList& scripts)
{
    bool allOk = true;
    for (const QString& script : scripts) {
        const ScriptResult result = host.run(script);
        out() << (result.ok ? "result: " : "error: ") << result.text << Qt::endl;
        allOk = allOk && result.ok;
    }
    return allOk;
}
} // namespace

int main(int argc, char** argv)
{
    bool headless = !displayAvailable();
    for (int i = 1; i < argc; ++i) {
        if (QByteArray(argv[i]) == "--help") {
            QTextStream(stdout) << kUsage;
            return 0;
        }
        headless = headless || QByteArray(argv[i]) == "--headless";
    }
    std::unique_ptr<QCoreApplication> application(headless ? new QCoreApplication(argc, argv)
                                                           : new QApplication(argc, argv));
    const QStringList args = QCoreApplication::arguments();
    const int shotAt = args.indexOf(QStringLiteral("--screenshot"));
    const QString screenshot = shotAt > 0 && shotAt + 1 < args.size() ? args[shotAt + 1] : QString();
    QStringList scripts;
    if (!collectScripts(QCoreApplication::arguments(), scripts))
        return 2;

    if (registerIfMissing(QCoreApplication::applicationFilePath()) == Registration::Failed)
        QTextStream(stderr) << "tessel: could not register in the application registry\n";

    ScriptApp app(QCoreApplication::applicationDirPath() + QStringLiteral("/skiff"));
    QObject::connect(&app, &ScriptApp::called, [](const QString& line) { out() << line << Qt::endl; });
    ScriptHost host(app);
    if (headless && !scripts.isEmpty())
        return runAll(host, scripts) ? 0 : 1;

    // The messaging thread answers pings while scripts run or the window
    // is busy; it has to be chosen before messaging is set up.
    ScObjects::TesselTalkThread::install();
    BrowserTalk talk(host);
    QObject::connect(&talk, &BrowserTalk::logged, [](const QString& line) { out() << line << Qt::endl; });
    if (!quitOnSignals(*application) || !talk.start()) {
        QTextStream(stderr) << "tessel: could not serve " << BrowserTalk::kSpecifier << " over TesselTalk\n";
        return 1;
    }
    out() << "serving " << BrowserTalk::kSpecifier << " as process " << QCoreApplication::applicationPid() << Qt::endl;

    std::unique_ptr<BrowserWindow> window;
    if (!headless) {
        window.reset(new BrowserWindow(app));
        window->show();
        QTimer::singleShot(0, window.get(), [&] {
            const bool ok = runAll(host, scripts);
            if (screenshot.isEmpty())
                return;
            // Let the grid lay out and paint its thumbnails first.
            QTimer::singleShot(500, window.get(), [&, ok] {
                const bool saved = window->grab().save(screenshot, "PNG");
                if (!saved)
                    QTextStream(stderr) << "tessel: cannot write " << screenshot << '\n';
                application->exit(ok && saved ? 0 : 1);
            });
        });
    }
    const int status = application->exec();
    talk.stop();
    return status;
}
