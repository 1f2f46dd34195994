// tessel [--headless] [--script TEXT | --run-script FILE]...
//
// Registers itself as "tessel" when the registry does not know it yet, then
// runs the given scripts in order, printing one line per call a script
// makes and one per result. Headless it then exits (1 when a script
// failed); with a window it stays open on what the scripts showed.
#include "BrowserWindow.h"
#include "ScriptApp.h"
#include "ScriptHost.h"
#include "SelfRegistration.h"

#include <QApplication>
#include <QFile>
#include <QTextStream>
#include <QTimer>

#include <memory>

namespace {
const char kUsage[] = "usage: tessel [--headless] [--script TEXT | --run-script FILE]...\n";

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
    bool headless = false;
    for (int i = 1; i < argc; ++i) {
        if (QByteArray(argv[i]) == "--help") {
            QTextStream(stdout) << kUsage;
            return 0;
        }
        headless = headless || QByteArray(argv[i]) == "--headless";
    }
    std::unique_ptr<QCoreApplication> application(headless ? new QCoreApplication(argc, argv)
                                                           : new QApplication(argc, argv));
    QStringList scripts;
    if (!collectScripts(QCoreApplication::arguments(), scripts))
        return 2;

    if (registerIfMissing(QCoreApplication::applicationFilePath()) == Registration::Failed)
        QTextStream(stderr) << "tessel: could not register in the application registry\n";

    ScriptApp app(QCoreApplication::applicationDirPath() + QStringLiteral("/skiff"));
    QObject::connect(&app, &ScriptApp::called, [](const QString& line) { out() << line << Qt::endl; });
    ScriptHost host(app);
    if (headless)
        return runAll(host, scripts) ? 0 : 1;

    BrowserWindow window(app);
    window.show();
    QTimer::singleShot(0, &window, [&] { runAll(host, scripts); });
    return application->exec();
}
