// A headless download: the card is scanned with the sink's formats, each
// item is copied and verified into the download folder and run through the
// sink's pre- and post-processing, and the finished download is handed to
// the sink's end-of-download step. One console line per item, then a summary.
#pragma once

#include <skiff/Skiff.h>

#include "CommandLine.h"

class HostConsole;

// Runs the session against `source` (borrowed). Returns the process exit
// status: 0 when every item was copied and processed, 1 otherwise. The
// sink's end-of-download step is reported but does not decide the status.
int runDownloadSession(ISource* source, const CommandLine& options, HostConsole& console);
