// skiff: the reference host. With stage/bin as its current directory it
// loads the plug-in the way the photo downloader does and reports what the
// plug-in answered. Exits 1 when the plug-in cannot be loaded or an answer
// is wrong.
#include <cstdio>
#include <string>

#include <QCoreApplication>
#include <QString>

#include "Handshake.h"
#include "HostLocale.h"
#include "HostReport.h"
#include "HostSettings.h"
#include "PluginLibrary.h"

namespace {

const char kDefaultPlugin[] = "../Plug-ins/TesselAppManager.so";

void usage()
{
    std::fprintf(stderr, "usage: skiff [--plugin PATH] [--location FOLDER]\n");
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    std::string pluginPath = kDefaultPlugin;
    QString location;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--plugin" && i + 1 < argc) {
            pluginPath = argv[++i];
        } else if (arg == "--location" && i + 1 < argc) {
            location = QString::fromLocal8Bit(argv[++i]);
        } else {
            usage();
            return 2;
        }
    }

    PluginLibrary plugin;
    if (!plugin.open(pluginPath)) {
        std::fprintf(stderr, "skiff: %s\n", plugin.error().c_str());
        return 1;
    }

    HostReport report;
    report.line(QStringLiteral("plug-in"), QString::fromStdString(pluginPath));
    {
        Handshake session(plugin.entry(), report);
        if (session.start()) {
            session.checkSource();
            hostSettingsSession(session.source(), report, location);
        }
        session.finish();
    }
    hostLocaleReport(report);
    std::fputs(report.text().toUtf8().constData(), stdout);
    if (report.failed()) {
        std::fprintf(stderr, "skiff: %d wrong answer(s) from %s\n", report.failures(), pluginPath.c_str());
        return 1;
    }
    std::printf("\nskiff: handshake complete\n");
    return 0;
}
