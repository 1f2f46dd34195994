// A first-in, first-out queue of messages with deadlines.
//
// The queue owns the messages it holds; getNextMessage hands ownership to
// the caller. Every operation takes the queue's own recursive lock; expiry
// may send time-out notices while it is held.
#pragma once

#include "Message.h"
#include "SoLockable.h"
#include "SoString.h"
#include "SoVector.h"

namespace ScObjects {
namespace TesselTalkData {

class MessageQueue : public SoLockable {
public:
    // Lifetime of a message queued without a timeout, in seconds.
    static constexpr unsigned long kDefaultTimeout = 600;

    MessageQueue() = default;
    ~MessageQueue() override = default;

    // Takes ownership and returns 1; returns 0 (the caller keeps it) for
    // null or a message without sender or target. A zero timestamp becomes
    // now, a zero timeout kDefaultTimeout.
    int append(TesselTalk::Message* message);
    // The next deliverable message, removed, or null. Expired messages met
    // on the way are dropped (their senders told when they asked for it).
    // "Ignore" entries are stepped over and kept: all of them without a
    // filter, those answering serial with one (kNoSerial: no filter).
    TesselTalk::Message* getNextMessage(unsigned long serial);
    // Deletes what getNextMessage(serial) returns; false for kNoSerial.
    bool removeMessage(unsigned long serial);
    // Deletes every time-out watch entry of that serial; 0.
    int removeTimeoutMessage(unsigned long serial);
    // Drops every expired message, last to first, telling the senders.
    void removeExpiredMessages();
    // The first message with exactly that target, left queued; or null.
    TesselTalk::Message* findMessageForTarget(const SoString& target);
    bool isEmpty() const;
    long count() const;

    void setDiagnosticsRoot(const SoString& root);
    SoString getDiagnosticsRoot() const;

    static bool isExpired(const TesselTalk::Message& message, unsigned long now);

private:
    void forward(const TesselTalk::Message& message, const char* note) const;

    SoVector<TesselTalk::Message> m_messages;
    SoString m_diagnosticsRoot;
};

// Tells the sender of an expired message, when its responseRequest asks
// for reason, by a notice through the installed QueueServices.
void notifySender(const TesselTalk::Message& message, const char* reason, const SoString& diagnosticsRoot);

} // namespace TesselTalkData
} // namespace ScObjects
