// Pumping: incoming messages to their handlers, outgoing ones to their
// targets.
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "InterAppStream.h"
#include "MessagingThread.h"
#include "QueueServices.h"
#include "TesselTalk.h"

#include <unistd.h>

#include <cstdint>
#include "TesselTalkConnector.h"
#include "TesselTalkContext.h"
#include "TesselTalkPing.h"
#include "TesselTalkSetupThread.h"
#include "TesselTalkUtils.h"

namespace ScObjects {
namespace TesselTalk {

namespace {

constexpr unsigned long kConnectorRefreshSeconds = 60;
constexpr long kConfirmSeconds = 2;

std::atomic<unsigned long> gLastConnectorRefresh{0};

bool contains(const SoString& text, const char* word)
{
    return std::strstr(text.c_str(), word) != nullptr;
}

bool startsWith(const SoString& text, const char* prefix)
{
    return std::strncmp(text.c_str(), prefix, std::strlen(prefix)) == 0;
}

void log(TesselTalkContext* context, const char* title, const Message& message)
{
    if (context)
        context->logMessage(title, message);
}

void forward(const TesselTalkData::MessageQueue& queue, const Message& message, const char* note)
{
    const SoString root = queue.getDiagnosticsRoot();
    TesselTalkData::QueueServices* services = TesselTalkData::getQueueServices();
    if (services && !root.isEmpty() && message.getType() != kTypeDebug)
        services->forwardMessage(message, "FWDMESSAGES", root, note);
}

void setStatus(TesselTalkContext* context, const char* value)
{
    if (MessagingThread* thread = context->getThread())
        thread->setKeyValuePair(SoString("STATUS"), SoString(value));
}

// A message kept back by a target that cannot take it yet: it may wait
// at most kQueueLimitSeconds from its first queueing.
void keepBack(Message& message, unsigned long now)
{
    SoString stamp = message.getUserHeaderValue("QUEUESTAMP");
    if (stamp.isEmpty()) {
        message.setHeader("QUEUESTAMP", message.getTimestamp());
        stamp = message.getUserHeaderValue("QUEUESTAMP");
    }
    const unsigned long queued = std::strtoul(stamp.c_str(), nullptr, 10);
    if (now >= queued + TesselTalk::kQueueLimitSeconds) {
        message.setTimestamp(queued);
        if (message.getTimeout() == 0)
            message.setTimeout(1);
        else if (message.getTimeout() >= TesselTalk::kQueueLimitSeconds)
            message.setTimeout(TesselTalk::kQueueLimitSeconds - 1);
    } else {
        message.setTimestamp(now);
    }
}

// A launcher that offered us parameters as a script comment waits for our
// confirmation; the comment names it: "// LAUNCHPARAMS:" launcher "\n".
void confirmLaunch(const Message& message)
{
    static const char kKey[] = "// LAUNCHPARAMS:";
    const char* body = message.getBody().c_str();
    if (std::strncmp(body, kKey, sizeof kKey - 1) != 0)
        return;
    const char* name = body + sizeof kKey - 1;
    const char* end = std::strchr(name, '\n');
    const SoString launcher(name, end ? end - name : -1);
    if (!launcher.isEmpty())
        TesselTalkUtils::ping(launcher, true, SoString("LAUNCHED"), static_cast<unsigned long>(std::rand()),
            kConfirmSeconds, nullptr, nullptr);
}

} // namespace

bool TesselTalk::pump(int ops, TesselTalkContext* context)
{
    if (!context) {
        if (TesselTalkSetupThread::isSetupThreadRunning())
            return false;
        context = TesselTalkContext::getCurrentContext();
    }
    if (!context)
        return false;
    const unsigned long now = TesselTalkUtils::getTimeSeconds();
    unsigned long last = gLastConnectorRefresh.load();
    if (now >= last + kConnectorRefreshSeconds && gLastConnectorRefresh.compare_exchange_strong(last, now)) {
        if (TesselTalkConnector* connector = context->getConnector())
            connector->updateCache(false);
    }

    setStatus(context, "PUMPING");
    bool any = false;
    for (long n = 0; TesselTalk* object = context->getNthInstance(n); ++n) {
        if (ops & kIncoming) {
            while (object->processIncomingMessage(kNoSerial, true))
                any = true;
        }
        if (ops & kOutgoing) {
            while (object->processOutgoingMessage())
                any = true;
        }
    }
    setStatus(context, "IDLE");
    return any;
}

// Holds the incoming queue for one reader from its turn to the next one's.
class TesselTalk::QueueTurn {
public:
    QueueTurn(TesselTalk& object, unsigned long turn)
        : m_object(object)
        , m_lock(object.m_queueTurnLock)
    {
        object.m_queueTurnChanged.wait(m_lock, [&] { return object.m_queueTurn == turn; });
    }
    ~QueueTurn()
    {
        ++m_object.m_queueTurn;
        m_object.m_queueTurnChanged.notify_all();
    }

private:
    TesselTalk& m_object;
    std::unique_lock<std::mutex> m_lock;
};

void TesselTalk::takeInFromStream()
{
    if (!m_stream)
        return;
    std::vector<std::unique_ptr<Message>> taken;
    unsigned long turn = 0;
    {
        ObjectLock guard(m_readLock);
        if (!m_stream->messagePending() && m_stream->isEmpty())
            return;
        while (m_stream->receive()) {
        }
        const SoString text = m_stream->getMessages();
        const char* cursor = text.c_str();
        const char* end = cursor + text.length();
        while (cursor < end) {
            std::unique_ptr<Message> message(new Message);
            const char* next = message->readFromString(cursor, end - cursor);
            if (next <= cursor)
                break;
            cursor = next;
            if (message->getType() != kTypeIgnore)
                taken.push_back(std::move(message));
        }
        if (taken.empty())
            return;
        turn = m_nextTurn++;
    }
    // The acknowledgements go first: a sender must not hear of what its
    // message caused (a "Result" sent by another thread that took it from
    // the queue) before it hears that the message arrived. They are sent
    // without the read lock, since the sender may be busy sending to us.
    try {
        for (const std::unique_ptr<Message>& message : taken)
            sendResponse(this, *message, kTypeReceived, nullptr);
    } catch (...) {
        // Later readers must not wait for a turn that is never taken.
        QueueTurn skipped(*this, turn);
        throw;
    }
    TesselTalkContext* context = getContext();
    QueueTurn inOrder(*this, turn);
    for (std::unique_ptr<Message>& message : taken) {
        log(context, "RECEIVE", *message);
        if (queueIncoming(message.get()))
            message.release();
    }
}

bool TesselTalk::processIncomingMessage(unsigned long serial, bool process)
{
    if (process && m_arrivalFd >= 0) {
        // What the signal announced is handled now or on a later call.
        std::lock_guard<std::mutex> guard(m_arrivalLock);
        if (m_arrivalSignalled) {
            std::uint64_t count;
            [[maybe_unused]] const ssize_t read = ::read(m_arrivalFd, &count, sizeof count);
            m_arrivalSignalled = false;
        }
    }
    m_in.removeExpiredMessages();
    takeInFromStream();
    if (!process)
        return false;
    Message* message = m_in.getNextMessage(serial);
    if (!message)
        return false;
    if (message->getTarget().isEmpty()) {
        delete message;
        return false;
    }
    return handle(message);
}

bool TesselTalk::handle(Message* taken)
{
    std::unique_ptr<Message> message(taken);
    TesselTalkContext* context = getContext();
    const SoString type = message->getType();
    const unsigned long serial = message->getSerialNumber();
    const int kind = messageKind(*message);
    const bool emptyRequest = type == kTypeCalligo && message->getReceivedSerial() == kNoSerial
        && message->getResultSerial() == kNoSerial && message->getErrorSerial() == kNoSerial
        && message->getBody().isEmpty();

    if (type == kTypeCalligo)
        confirmLaunch(*message);
    if (!emptyRequest) {
        bool viaDefault = false;
        MsgHandler* handler = findHandler(type.c_str(), serial);
        if (!handler)
            handler = findHandler(type.c_str(), kNoSerial);
        if (!handler) {
            viaDefault = true;
            handler = findHandler(kTypeCalligo, serial);
            if (!handler)
                handler = findHandler(kTypeCalligo, kNoSerial);
        }
        if (handler) {
            Message copy(*message);
            if (viaDefault && (kind == MsgHandler::kReceived || kind == MsgHandler::kResult || kind == MsgHandler::kError))
                copy.setType(kTypeCalligo);
            const unsigned long handlerSerial = handler->getSerialNumber();
            SoString result;
            long code = 0;
            bool threw = false;
            try {
                code = handler->handleMessage(kind, copy, &result);
            } catch (...) {
                threw = true;
            }
            if (handlerSerial != kNoSerial && handlerSerial == serial)
                deleteHandler(handler);
            const SoString& wanted = copy.getResponseRequest();
            if (threw) {
                if (contains(wanted, kTypeError))
                    sendError(this, copy, "Exception", kErrorException, 0);
            } else if (code == 0) {
                if (contains(wanted, kTypeResult))
                    sendResult(copy, result);
            } else if (contains(wanted, kTypeError)) {
                sendError(this, copy, result.c_str(), code, 0);
            }
        }
    }

    if (type == kTypeProcessed || startsWith(type, kTypeError) || startsWith(type, kTypeTimeout)) {
        // The request is over: its remaining handlers and its watch go.
        deleteHandlers(serial);
        m_in.removeTimeoutMessage(serial);
        if (type == kTypeProcessed) {
            log(context, "PROCESSED CLEANUP", *message);
            forward(m_in, *message, "handled: Processed");
        } else if (startsWith(type, kTypeError)) {
            log(context, "PROCESSED ERROR", *message);
            forward(m_in, *message, "handled: error");
        } else {
            log(context, "PROCESSED TIMEOUT", *message);
            forward(m_in, *message, "handled: time out");
        }
    } else if (type != kTypeIgnore) {
        sendResponse(this, *message, kTypeProcessed, nullptr);
        log(context, "PROCESSED INCOMING MESSAGE", *message);
        forward(m_in, *message, "processed");
    }
    return true;
}

bool TesselTalk::processOutgoingMessage()
{
    if (m_out.isEmpty())
        return false;
    ObjectLock guard(m_sendLock);
    TesselTalkContext* context = getContext();
    m_out.removeExpiredMessages();
    const unsigned long now = TesselTalkUtils::getTimeSeconds();
    std::vector<SoString> failed;
    std::vector<Message*> kept;
    for (long n = m_out.count(); n > 0; --n) {
        Message* message = m_out.getNextMessage(kNoSerial);
        if (!message)
            break;
        SoString text;
        if (!m_stream || !message->writeToString(text)) {
            delete message;
            continue;
        }
        const SoString& target = message->getTarget();
        const bool failedBefore = std::find(failed.begin(), failed.end(), target) != failed.end();
        if (!failedBefore && streamSend(*message, text)) {
            log(context, "SEND ENQUEUED MESSAGE", *message);
            delete message;
            continue;
        }
        if (!failedBefore)
            failed.push_back(target);
        keepBack(*message, now);
        log(context, "REQUEUED MESSAGE ", *message);
        kept.push_back(message);
    }
    for (Message* message : kept) {
        if (!m_out.append(message))
            delete message;
    }
    return false;
}

} // namespace TesselTalk
} // namespace ScObjects
