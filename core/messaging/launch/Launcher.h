// Starting, finding and raising applications.
//
// A launched application is detached from us: it runs in its own session,
// is never our child (no zombie is left for anyone to reap), and inherits
// no descriptor beyond 0 to 2, so it cannot keep an endpoint of ours alive.
#pragma once

#include "SoString.h"
#include "Specifier.h"

namespace ScObjects {
namespace TesselTalkUtils {

// Whether the launched application should come to the front.
enum Focus { kFocusFront = 0, kFocusBackground = 1 };

enum SearchHint { kSearchAll = 0 };

// What raising achieved. This platform has no portable way to bring
// another application's window to the front: raised stays false and note
// says so.
struct BringToFrontResult {
    bool found = false;
    unsigned long pid = 0;
    bool raised = false;
    SoString note;
};

class Launcher {
public:
    // Starts the executable at path for spec; pid (when non-null) receives
    // its process identifier, 0 on failure. An empty path gives false; a
    // path beginning "https://" is opened as an address with the main
    // messaging object's name as "?sender=". When params is given and a
    // main messaging object exists, the parameters are offered three ways
    // (the launch queue, appname "#" pid, a "Calligo" script comment) and
    // watched until acknowledged or timed out. Whether the application
    // started.
    static bool launch(const TesselTalk::Specifier& spec, const SoString& path, const SoString* params, Focus focus,
        unsigned long* pid);
    // The running process whose executable is path.
    static BringToFrontResult bringToFront(const char* path, SearchHint hint);
    // Whether a live process (not a zombie) has that identifier.
    static bool isProcessRunning(unsigned long pid);
    // And whether its executable is the file at path.
    static bool isProcessRunning(unsigned long pid, const char* path);
};

} // namespace TesselTalkUtils
} // namespace ScObjects
