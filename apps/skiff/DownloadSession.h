// A download, shared by the headless and the windowed host: the card is scanned with the sink's formats, each
// item is copied and verified into the download folder and run through the
// sink's pre- and post-processing, and the finished download is handed to
// the sink's end-of-download step. One console line per item, then a summary.
#pragma once

#include <skiff/Skiff.h>

#include <functional>

#include "CommandLine.h"

class HostConsole;

// What a session shows and asks through. The defaults are the headless
// host's: a panel in memory whose check boxes the command line sets, and
// questions and progress on the console, answered from the command line.
struct SessionFrontEnd {
    // The panel the sink already holds (borrowed); its check boxes, as the
    // user left them, decide conversion, deletion and the hand-off.
    IClientUIHandler* panel = nullptr;
    // Messages and questions (borrowed).
    IDisplayMsgHandler* messages = nullptr;
    // A fresh progress handler with a count of 1 for the sink to own.
    std::function<IProgressHandler*()> makeProgress;
    // Called after each item of the card, copied or not: done of total.
    std::function<void(int done, int total)> itemDone;
};

// Runs the session against `source` (borrowed). Returns the process exit
// status: 0 when every item was copied and processed, 1 otherwise. The
// sink's end-of-download step is reported but does not decide the status.
int runDownloadSession(ISource* source, const CommandLine& options, HostConsole& console,
                       const SessionFrontEnd& frontEnd = {});
