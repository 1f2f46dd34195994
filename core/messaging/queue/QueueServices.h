// What queues need from the messaging object above them: sending a
// time-out notice, a fresh serial number, the log and the diagnostics
// forwarding. The messaging object layer installs an implementation; until
// then notices are dropped and nothing is logged or forwarded.
#pragma once

#include "Message.h"

namespace ScObjects {
namespace TesselTalkData {

class QueueServices {
public:
    virtual ~QueueServices() = default;

    // Sends through the process's main messaging object, without launching
    // and without waiting; false when there is none.
    virtual bool sendNotice(TesselTalk::Message& notice) = 0;
    // The next serial number of the shared context.
    virtual unsigned long nextSerialNumber() = 0;
    // Logs the message under title when logging is on.
    virtual void logMessage(const char* title, const TesselTalk::Message& message) = 0;
    // Forwards a queue event to diagnostics under root ("FWDMESSAGES" and a
    // note such as "added" or "timed out").
    virtual void forwardMessage(const TesselTalk::Message& message, const char* kind, const SoString& root,
        const char* note) = 0;
};

// Installs the services (not owned; null removes them). Install and remove
// them while no queue is in use on another thread.
void setQueueServices(QueueServices* services);
QueueServices* getQueueServices();

} // namespace TesselTalkData
} // namespace ScObjects
