// The windowed host's run: the handshake, the window over the created
// source, and the event loop until the window closes. With --screenshot the
// window is saved as a picture (half-way through the download with --start)
// and the run ends by itself.
#pragma once

#include <skiff/FxBase.h>

#include "CommandLine.h"

// Needs a QApplication. Returns the process exit status: 1 when the
// handshake or the panel fails, a started download's status, else 0.
int runWindowSession(FxPluginMainFunc entry, const CommandLine& options);
