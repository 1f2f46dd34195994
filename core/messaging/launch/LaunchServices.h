// What launching needs from the layers above it, as interfaces they fill:
// the transport's named endpoints (the stream layer) and the process's main
// messaging object (the messaging object layer). Until they are installed
// there are no endpoints and no main object: launches start applications
// without handing over parameters, and the launched side finds nobody
// offering any.
#pragma once

#include <memory>

#include "Message.h"
#include "SoString.h"

namespace ScObjects {
namespace TesselTalkUtils {

// A receiving endpoint held by this process; destroying it releases the name.
class LaunchInbox {
public:
    virtual ~LaunchInbox() = default;
    // Takes the next text that arrived, without waiting; false when none.
    virtual bool take(SoString& text) = 0;
};

class LaunchEndpoints {
public:
    virtual ~LaunchEndpoints() = default;
    // Whether an endpoint of that name could be made here, that is, nobody
    // holds it. Leaves nothing held.
    virtual bool canCreateLocally(const SoString& name) = 0;
    // Takes the name and listens on it; null when someone else holds it or
    // it cannot be made.
    virtual std::unique_ptr<LaunchInbox> open(const SoString& name) = 0;
};

class LaunchWatch;

class LaunchHost {
public:
    virtual ~LaunchHost() = default;
    // The application name of the main messaging object; empty without one.
    virtual SoString mainAppName() = 0;
    virtual unsigned long nextSerialNumber() = 0;
    // Appends to the main object's outgoing queue, which takes ownership.
    virtual void queueOutgoing(TesselTalk::Message* message) = 0;
    // Installs a one-shot handler on the main object, which takes ownership.
    virtual void installWatch(LaunchWatch* watch) = 0;
    // Removes and deletes the main object's handler for (type, serial).
    virtual void removeWatch(const char* type, unsigned long serial) = 0;
    // Removes and deletes the queued outgoing messages of serial.
    virtual void removeQueuedMessages(unsigned long serial) = 0;
};

// Install (not owned; null removes) while no launch is under way.
void setLaunchEndpoints(LaunchEndpoints* endpoints);
LaunchEndpoints* getLaunchEndpoints();
void setLaunchHost(LaunchHost* host);
LaunchHost* getLaunchHost();

} // namespace TesselTalkUtils
} // namespace ScObjects
