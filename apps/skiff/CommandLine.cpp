#include "CommandLine.h"

#include <QtGlobal>

namespace {

ParsedCommandLine failure(const QString& error)
{
    ParsedCommandLine parsed;
    parsed.error = error;
    return parsed;
}

} // namespace

ParsedCommandLine parseCommandLine(const QStringList& arguments)
{
    ParsedCommandLine parsed;
    CommandLine& options = parsed.options;
    for (int i = 0; i < arguments.size(); ++i) {
        const QString& arg = arguments[i];
        const auto value = [&](QString& out) {
            if (i + 1 >= arguments.size() || arguments[i + 1].isEmpty())
                return false;
            out = arguments[++i];
            return true;
        };
        if (arg == QLatin1String("--help") || arg == QLatin1String("-h")) {
            options.mode = CommandLine::Mode::Help;
            parsed.ok = true;
            return parsed;
        }
        if (arg == QLatin1String("--report")) {
            options.mode = CommandLine::Mode::Report;
        } else if (arg == QLatin1String("--headless")) {
            options.mode = CommandLine::Mode::Headless;
        } else if (arg == QLatin1String("--gui")) {
            options.mode = CommandLine::Mode::Gui;
        } else if (arg == QLatin1String("--start")) {
            options.start = true;
        } else if (arg == QLatin1String("--dng")) {
            options.dng = true;
        } else if (arg == QLatin1String("--delete")) {
            options.deleteOriginals = true;
        } else if (arg == QLatin1String("--open-browser")) {
            options.openBrowser = true;
        } else if (arg == QLatin1String("--answer")) {
            QString answer;
            if (!value(answer) || (answer != QLatin1String("yes") && answer != QLatin1String("no")))
                return failure(QStringLiteral("--answer takes yes or no"));
            options.answer = answer == QLatin1String("yes") ? CommandLine::Answer::Yes : CommandLine::Answer::No;
        } else if (arg == QLatin1String("--plugin") || arg == QLatin1String("--location") ||
                   arg == QLatin1String("--card") || arg == QLatin1String("--dest") ||
                   arg == QLatin1String("--screenshot")) {
            QString* target = arg == QLatin1String("--plugin")     ? &options.pluginPath
                              : arg == QLatin1String("--location") ? &options.location
                              : arg == QLatin1String("--card")     ? &options.card
                              : arg == QLatin1String("--dest")     ? &options.dest
                                                                   : &options.screenshot;
            if (!value(*target))
                return failure(QStringLiteral("%1 needs a value").arg(arg));
        } else {
            return failure(QStringLiteral("unknown argument %1").arg(arg));
        }
    }
    options.mode = effectiveMode(options.mode);
    if (options.mode == CommandLine::Mode::Headless && options.card.isEmpty())
        return failure(QStringLiteral("--headless needs --card DIR"));
    if (options.mode == CommandLine::Mode::Report && !options.card.isEmpty())
        return failure(QStringLiteral("--card is only used with --headless or --gui"));
    if (options.mode != CommandLine::Mode::Gui && (options.start || !options.screenshot.isEmpty()))
        return failure(QStringLiteral("--start and --screenshot are only used with --gui"));
    if (options.start && options.card.isEmpty())
        return failure(QStringLiteral("--start needs --card DIR"));
    parsed.ok = true;
    return parsed;
}

CommandLine::Mode effectiveMode(CommandLine::Mode mode)
{
    if (mode != CommandLine::Mode::Default)
        return mode;
    const bool display = !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
    return display ? CommandLine::Mode::Gui : CommandLine::Mode::Report;
}

QString usageText()
{
    return QStringLiteral(
        "usage: skiff [--report] [--plugin PATH] [--location FOLDER]\n"
        "       skiff --headless --card DIR [--dest DIR] [--answer yes|no] [--dng] [--delete] [--open-browser]\n"
        "       skiff [--gui] [--card DIR] [--dest DIR] [--start] [--screenshot FILE.png]\n"
        "\n"
        "  --report        load the plug-in and print what it answers (the default without a display)\n"
        "  --gui           open the window: the plug-in's panel, card and destination, Start, progress\n"
        "                  (the default when DISPLAY or WAYLAND_DISPLAY names a display)\n"
        "  --start         window: start downloading the card at once\n"
        "  --screenshot F  window: save a PNG of the window to F and quit; with --start the picture\n"
        "                  is taken half-way through the download, which then runs to its end;\n"
        "                  nobody answers: the plug-in's dialogs are closed as with Escape\n"
        "  --location DIR  report mode: store DIR as the download location\n"
        "  --headless      download the card folder without windows, one line per item\n"
        "  --card DIR      the card: a mounted camera card (DCIM layout) or any folder\n"
        "  --dest DIR      download into DIR instead of the plug-in's download location\n"
        "  --answer yes|no the reply to the plug-in's questions (default no)\n"
        "  --dng           convert raw files to DNG after copying\n"
        "  --delete        let the plug-in offer to delete the originals after the download\n"
        "  --open-browser  let the plug-in hand the download folder to the browser\n"
        "  --plugin PATH   the plug-in module (default ../Plug-ins/TesselAppManager.so)\n"
        "\n"
        "Exit status: 0 success, 1 failure, 2 command-line error.\n");
}
