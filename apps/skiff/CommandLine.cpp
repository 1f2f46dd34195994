#include "CommandLine.h"

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
            continue;
        } else if (arg == QLatin1String("--headless")) {
            options.mode = CommandLine::Mode::Headless;
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
                   arg == QLatin1String("--card") || arg == QLatin1String("--dest")) {
            QString* target = arg == QLatin1String("--plugin")     ? &options.pluginPath
                              : arg == QLatin1String("--location") ? &options.location
                              : arg == QLatin1String("--card")     ? &options.card
                                                                   : &options.dest;
            if (!value(*target))
                return failure(QStringLiteral("%1 needs a value").arg(arg));
        } else {
            return failure(QStringLiteral("unknown argument %1").arg(arg));
        }
    }
    if (options.mode == CommandLine::Mode::Headless && options.card.isEmpty())
        return failure(QStringLiteral("--headless needs --card DIR"));
    if (options.mode == CommandLine::Mode::Report && !options.card.isEmpty())
        return failure(QStringLiteral("--card is only used with --headless"));
    parsed.ok = true;
    return parsed;
}

QString usageText()
{
    return QStringLiteral(
        "usage: skiff [--report] [--plugin PATH] [--location FOLDER]\n"
        "       skiff --headless --card DIR [--dest DIR] [--answer yes|no] [--dng] [--delete] [--open-browser]\n"
        "\n"
        "  --report        load the plug-in and print what it answers (the default)\n"
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
