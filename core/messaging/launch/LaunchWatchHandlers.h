// The handlers that watch a launch until the launched application
// acknowledges its parameters or the hand-over times out. They have the
// shape of the messaging object's handlers, which adapt them.
#pragma once

#include <memory>
#include <vector>

#include "LaunchServices.h"
#include "Message.h"
#include "SoString.h"

namespace ScObjects {
namespace TesselTalkUtils {

class LaunchWatch {
public:
    virtual ~LaunchWatch() = default;
    // 0 for success.
    virtual long handleMessage(int kind, TesselTalk::Message& message, SoString* result) = 0;
    virtual SoString getMsgType() const = 0;
    virtual unsigned long getSerialNumber() const = 0;
};

// Holds the launch queue's "haslaunchparams" endpoint while it waits, so
// that the launched application knows parameters are on their way. On a
// time-out it lets go of the endpoint, removes the "Received" watch of its
// serial and answers "LAUNCHED".
class LaunchTimeoutMsgHandler : public LaunchWatch {
public:
    // Takes the endpoint launchQueueName "#haslaunchparams" when it can.
    LaunchTimeoutMsgHandler(const SoString& key, unsigned long serial, const SoString& launchQueueName);
    long handleMessage(int kind, TesselTalk::Message& message, SoString* result) override;
    SoString getMsgType() const override { return SoString("Timeout"); }
    unsigned long getSerialNumber() const override { return m_serial; }
    const SoString& key() const { return m_key; }
    bool holdsEndpoint() const { return m_endpoint != nullptr; }

private:
    SoString m_key;
    unsigned long m_serial;
    std::unique_ptr<LaunchInbox> m_endpoint;
};

// The first acknowledgement of any of the parameter messages: removes the
// time-out watches of its serial and of its companions and the companions'
// queued messages.
class LaunchReceivedMsgHandler : public LaunchWatch {
public:
    explicit LaunchReceivedMsgHandler(unsigned long serial);
    void addCompanions(const std::vector<unsigned long>& serials);
    long handleMessage(int kind, TesselTalk::Message& message, SoString* result) override;
    SoString getMsgType() const override { return SoString("Received"); }
    unsigned long getSerialNumber() const override { return m_serial; }

private:
    unsigned long m_serial;
    std::vector<unsigned long> m_companions;
};

} // namespace TesselTalkUtils
} // namespace ScObjects
