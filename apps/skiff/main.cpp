// skiff: the reference host. With stage/bin as its current directory it
// loads the plug-in the way the photo downloader does. On a display it opens
// its window; without one it reports what the plug-in answered; with
// --headless it downloads a card folder.
// Exits 1 when the plug-in cannot be loaded, an answer is wrong or a download
// fails, 2 on a command-line error.
#include <cstdio>
#include <memory>

#include <QApplication>
#include <QCoreApplication>
#include <QString>

#include "CommandLine.h"
#include "DownloadSession.h"
#include "Handshake.h"
#include "HostLocale.h"
#include "HostMessages.h"
#include "HostReport.h"
#include "HostSettings.h"
#include "PluginLibrary.h"
#include "WindowSession.h"

namespace {

int report(FxPluginMainFunc entry, const CommandLine& options)
{
    HostReport report;
    report.line(QStringLiteral("plug-in"), options.pluginPath);
    {
        Handshake session(entry, report);
        if (session.start()) {
            session.checkSource();
            hostSettingsSession(session.source(), report, options.location);
        }
        session.finish();
    }
    hostLocaleReport(report);
    std::fputs(report.text().toUtf8().constData(), stdout);
    if (report.failed()) {
        std::fprintf(stderr, "skiff: %d wrong answer(s) from %s\n", report.failures(), qUtf8Printable(options.pluginPath));
        return 1;
    }
    std::printf("\nskiff: handshake complete\n");
    return 0;
}

int headless(FxPluginMainFunc entry, const CommandLine& options)
{
    HostConsole console(stdout);
    HostReport handshake;
    int status = 1;
    {
        Handshake session(entry, handshake);
        if (session.start())
            status = runDownloadSession(session.source(), options, console);
        session.finish();
    }
    // The handshake's lines matter only when something in it went wrong.
    if (handshake.failed()) {
        std::fputs(handshake.text().toUtf8().constData(), stderr);
        return 1;
    }
    return status;
}

} // namespace

int main(int argc, char** argv)
{
    // The mode decides the kind of application: only the window needs a
    // display, and the report and headless modes must run without one.
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    const ParsedCommandLine parsed = parseCommandLine(arguments);
    std::unique_ptr<QCoreApplication> app;
    if (parsed.ok && parsed.options.mode == CommandLine::Mode::Gui)
        app = std::make_unique<QApplication>(argc, argv);
    else
        app = std::make_unique<QCoreApplication>(argc, argv);
    if (!parsed.ok) {
        std::fprintf(stderr, "skiff: %s\n%s", qUtf8Printable(parsed.error), qUtf8Printable(usageText()));
        return 2;
    }
    const CommandLine& options = parsed.options;
    if (options.mode == CommandLine::Mode::Help) {
        std::fputs(usageText().toUtf8().constData(), stdout);
        return 0;
    }

    PluginLibrary plugin;
    if (!plugin.open(options.pluginPath.toStdString())) {
        std::fprintf(stderr, "skiff: %s\n", plugin.error().c_str());
        return 1;
    }
    switch (options.mode) {
    case CommandLine::Mode::Headless:
        return headless(plugin.entry(), options);
    case CommandLine::Mode::Gui:
        return runWindowSession(plugin.entry(), options);
    default:
        return report(plugin.entry(), options);
    }
}
