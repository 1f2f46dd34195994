#include "MessageQueue.h"

#include "QueueServices.h"
#include "TesselTalkUtils.h"

namespace ScObjects {
namespace TesselTalkData {

using TesselTalk::kNoSerial;
using TesselTalk::kTypeDebug;
using TesselTalk::kTypeIgnore;
using TesselTalk::kTypeTimeout;
using TesselTalk::Message;

namespace {

bool answers(const Message& m, unsigned long serial)
{
    return m.getReceivedSerial() == serial || m.getResultSerial() == serial || m.getErrorSerial() == serial;
}

bool isTimeoutWatch(const Message& m, unsigned long serial)
{
    return m.getType() == kTypeIgnore && m.getTarget() == m.getSender() && m.getResponseRequest() == kTypeTimeout
        && m.getSerialNumber() == serial;
}

} // namespace

bool MessageQueue::isExpired(const Message& m, unsigned long now)
{
    if (m.getTimeout() > 0)
        return m.getTimestamp() > 0 && now >= m.getTimestamp() + m.getTimeout();
    return m.getType() == kTypeIgnore;
}

void MessageQueue::forward(const Message& message, const char* note) const
{
    QueueServices* services = getQueueServices();
    if (services && !m_diagnosticsRoot.isEmpty())
        services->forwardMessage(message, "FWDMESSAGES", m_diagnosticsRoot, note);
}

int MessageQueue::append(Message* message)
{
    if (!message || message->getSender().isEmpty() || message->getTarget().isEmpty())
        return 0;
    if (message->getTimestamp() == 0)
        message->setTimestamp(TesselTalkUtils::getTimeSeconds());
    if (message->getTimeout() == 0)
        message->setTimeout(kDefaultTimeout);
    ObjectLock guard(*this);
    m_messages.append(message);
    if (message->getType() != kTypeDebug)
        forward(*message, "added");
    return 1;
}

Message* MessageQueue::getNextMessage(unsigned long serial)
{
    ObjectLock guard(*this);
    const unsigned long now = TesselTalkUtils::getTimeSeconds();
    // Not owning: what is set aside goes back into m_messages.
    SoVectorBase setAside;
    Message* result = nullptr;
    while (Message* m = m_messages.removeAt(0)) {
        if (isExpired(*m, now)) {
            notifySender(*m, kTypeTimeout, m_diagnosticsRoot);
            delete m;
            continue;
        }
        // The filter only chooses which "Ignore" entries are stepped over;
        // any other message is the result whether it matches or not.
        if (m->getType() == kTypeIgnore && (serial == kNoSerial || answers(*m, serial))) {
            setAside.append(m);
            continue;
        }
        result = m;
        break;
    }
    for (long i = 0; i < setAside.count(); ++i) {
        Message* m = static_cast<Message*>(setAside.at(i));
        m_messages.append(m);
        if (m->getType() != kTypeIgnore && m->getType() != kTypeDebug)
            forward(*m, "requeued");
    }
    if (result && result->getType() != kTypeDebug)
        forward(*result, "picked");
    return result;
}

bool MessageQueue::removeMessage(unsigned long serial)
{
    if (serial == kNoSerial)
        return false;
    Message* m = getNextMessage(serial);
    delete m;
    return m != nullptr;
}

int MessageQueue::removeTimeoutMessage(unsigned long serial)
{
    if (serial == kNoSerial)
        return 0;
    ObjectLock guard(*this);
    for (long i = m_messages.count() - 1; i >= 0; --i) {
        if (isTimeoutWatch(*m_messages.at(i), serial))
            delete m_messages.removeAt(i);
    }
    return 0;
}

void MessageQueue::removeExpiredMessages()
{
    ObjectLock guard(*this);
    const unsigned long now = TesselTalkUtils::getTimeSeconds();
    for (long i = m_messages.count() - 1; i >= 0; --i) {
        Message* m = m_messages.at(i);
        if (isExpired(*m, now)) {
            notifySender(*m, kTypeTimeout, m_diagnosticsRoot);
            delete m_messages.removeAt(i);
        }
    }
}

Message* MessageQueue::findMessageForTarget(const SoString& target)
{
    ObjectLock guard(*this);
    for (long i = 0; i < m_messages.count(); ++i) {
        if (m_messages.at(i)->getTarget() == target)
            return m_messages.at(i);
    }
    return nullptr;
}

bool MessageQueue::isEmpty() const
{
    ObjectLock guard(*this);
    return m_messages.isEmpty();
}

long MessageQueue::count() const
{
    ObjectLock guard(*this);
    return m_messages.count();
}

void MessageQueue::setDiagnosticsRoot(const SoString& root)
{
    ObjectLock guard(*this);
    m_diagnosticsRoot = root;
}

SoString MessageQueue::getDiagnosticsRoot() const
{
    ObjectLock guard(*this);
    return m_diagnosticsRoot;
}

} // namespace TesselTalkData
} // namespace ScObjects
