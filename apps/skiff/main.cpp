// skiff: the reference host. With stage/bin as its current directory it
// loads the plug-in the way the photo downloader does. By default it reports
// what the plug-in answered; with --headless it downloads a card folder.
// Exits 1 when the plug-in cannot be loaded, an answer is wrong or a download
// fails, 2 on a command-line error.
#include <cstdio>

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
    QCoreApplication app(argc, argv);
    const ParsedCommandLine parsed = parseCommandLine(app.arguments().mid(1));
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
    return options.mode == CommandLine::Mode::Headless ? headless(plugin.entry(), options) : report(plugin.entry(), options);
}
