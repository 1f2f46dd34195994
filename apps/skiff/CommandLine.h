// The host's command line. --report prints the handshake report, --headless
// downloads a card folder and prints one line per item, --gui opens the
// window. Without any of them the host opens the window when there is a
// display and prints the report when there is none.
#pragma once

#include <QString>
#include <QStringList>

struct CommandLine {
    enum class Mode { Default, Report, Headless, Gui, Help };
    enum class Answer { Unset, Yes, No };

    Mode mode = Mode::Default;
    QString pluginPath = QStringLiteral("../Plug-ins/TesselAppManager.so");
    QString location;  // report mode: the download location to store
    QString card;      // headless and window: the card folder
    QString dest;      // headless and window: overrides the plug-in's download location
    QString screenshot; // window: save a picture of the window there, then quit
    bool start = false; // window: start the download at once
    Answer answer = Answer::Unset; // the reply to the plug-in's yes/no questions
    bool dng = false;
    bool deleteOriginals = false;
    bool openBrowser = false;
};

struct ParsedCommandLine {
    bool ok = false;
    CommandLine options;
    QString error; // what was wrong, when !ok
};

// Parses the arguments after the program name; the mode in the result is
// never Default (see effectiveMode). Unknown options, missing
// values, a headless session without --card and a report with a card or
// window options are errors.
ParsedCommandLine parseCommandLine(const QStringList& arguments);

// The mode a Default command line runs in: the window when a display is
// named in DISPLAY or WAYLAND_DISPLAY, the report otherwise.
CommandLine::Mode effectiveMode(CommandLine::Mode mode);

// The text printed by --help and after a command-line error.
QString usageText();
