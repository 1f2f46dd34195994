// The time-out notice to the sender of an expired message.
#include <cstring>

#include "MessageQueue.h"
#include "QueueServices.h"

namespace ScObjects {
namespace TesselTalkData {

using TesselTalk::Message;

void notifySender(const Message& message, const char* reason, const SoString& diagnosticsRoot)
{
    // Substring match: a request may ask for several kinds of answer at once.
    if (!std::strstr(message.getResponseRequest().c_str(), reason))
        return;
    // The sender watches its own time-outs.
    if (message.getUserHeaderValue("TIMEOUT_DETECTOR") == "SENDER")
        return;
    QueueServices* services = getQueueServices();
    if (!services)
        return;

    Message notice;
    notice.setTarget(message.getSender().c_str());
    notice.setSender(message.getTarget().c_str());
    const SoString version = message.getVersion();
    notice.setVersion(version.c_str());
    if (!version.isEmpty() && version != "1.0") {
        notice.setSerialNumber(message.getSerialNumber());
        SoString type(reason);
        if (message.isUserType())
            type << message.getType();
        notice.setType(type.c_str());
    } else {
        // Old peers match answers by type and expect a serial of their own.
        notice.setType(message.getType().c_str());
        notice.setSerialNumber(services->nextSerialNumber());
    }
    services->logMessage("REMOVING MSG - NOTIFYING SENDER", notice);
    if (!diagnosticsRoot.isEmpty() && message.getType() != TesselTalk::kTypeDebug)
        services->forwardMessage(message, "FWDMESSAGES", diagnosticsRoot, "timed out");
    services->sendNotice(notice);
}

} // namespace TesselTalkData
} // namespace ScObjects
