// The host's command line. Without --headless the host prints the handshake
// report; with it, it downloads a card folder and prints one line per item.
#pragma once

#include <QString>
#include <QStringList>

struct CommandLine {
    enum class Mode { Report, Headless, Help };
    enum class Answer { Unset, Yes, No };

    Mode mode = Mode::Report;
    QString pluginPath = QStringLiteral("../Plug-ins/TesselAppManager.so");
    QString location;  // report mode: the download location to store
    QString card;      // headless: the card folder
    QString dest;      // headless: overrides the plug-in's download location
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

// Parses the arguments after the program name. Unknown options, missing
// values and a headless session without --card are errors.
ParsedCommandLine parseCommandLine(const QStringList& arguments);

// The text printed by --help and after a command-line error.
QString usageText();
