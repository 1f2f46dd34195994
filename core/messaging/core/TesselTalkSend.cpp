// Sending and answering.
#include <cstring>

#include "InterAppStream.h"
#include "Specifier.h"
#include "TesselTalk.h"
#include "TesselTalkContext.h"
#include "TesselTalkUtils.h"

namespace ScObjects {
namespace TesselTalk {

namespace {

constexpr unsigned long kWatchDefaultTimeout = 60;
constexpr unsigned int kPollMs = 100;
constexpr unsigned long kRunWaitSeconds = 300;

bool contains(const SoString& text, const char* word)
{
    return std::strstr(text.c_str(), word) != nullptr;
}

bool answersNothing(const Message& message)
{
    return message.getReceivedSerial() == kNoSerial && message.getResultSerial() == kNoSerial
        && message.getErrorSerial() == kNoSerial;
}

void log(TesselTalkContext* context, const char* title, const Message& message)
{
    if (context)
        context->logMessage(title, message);
}

} // namespace

bool TesselTalk::send(Message& message, bool allowLaunch, unsigned long waitSeconds, const SoString* launchParams)
{
    if (message.getType() == kTypeCalligo && answersNothing(message) && message.getBody().isEmpty())
        return false;
    const Specifier target(message.getTarget().c_str(), true);
    if (target.isEmpty()) {
        sendError(this, message, "ERROR: INVALID SPECIFIER", kErrorSend, waitSeconds);
        return false;
    }
    const SoString appName = getAppName();
    if (message.getType() == kTypeTimeout && Specifier(appName.c_str(), false).appName() != target.appName()
        && message.getUserHeaderValue("TIMEOUT_DETECTOR") == "SENDER")
        return false;

    TesselTalkContext* context = getContext();
    if (!context)
        context = TesselTalkContext::getCurrentContext();
    if (context && message.getSerialNumber() == 0)
        message.setSerialNumber(context->getNextSerialNumber());
    if (message.getSender().isEmpty())
        message.setSender(appName.c_str());
    message.setTarget(target.c_str());
    message.setTimestamp(TesselTalkUtils::getTimeSeconds());

    // The sender is told when its message has been handled.
    if (message.getType() != kTypeIgnore
        && (!message.getResponseRequest().isEmpty() || findHandler("", message.getSerialNumber()))
        && !contains(message.getResponseRequest(), kTypeProcessed) && message.getType() != kTypeDebug) {
        SoString request = message.getResponseRequest();
        request << " " << kTypeProcessed;
        message.setResponseRequest(request.c_str());
    }

    SoString text;
    if (!message.writeToString(text)) {
        sendError(this, message, "ERROR: CAN'T STREAM MESSAGE TO STRING", kErrorSend, waitSeconds);
        return false;
    }

    bool delivered = false;
    bool queued = false;
    if (context && context->findInstance(target)) {
        delivered = deliverInProcess(message);
        log(context, "RECEIVED", message);
    } else {
        ObjectLock guard(m_sendLock);
        // Order is kept: a message waits behind those queued for its target.
        if (!m_out.findMessageForTarget(message.getTarget()) && streamSend(message, text)) {
            delivered = true;
            log(context, "SEND", message);
        }
    }

    if (!delivered) {
        if (!allowLaunch) {
            sendError(this, message, "ERROR: LAUNCHING IS SUPPRESSED", kErrorSend, waitSeconds);
            return false;
        }
        if (!target.isRunning()) {
            log(context, "TARGET IS NOT RUNNING", message);
            if (!launchTarget(target.c_str(), launchParams, kFocusFront, context)) {
                sendError(this, message, "ERROR: TARGET COULD NOT BE LAUNCHED", kErrorSend, waitSeconds);
                return false;
            }
            log(context, "LAUNCHING TARGET", message);
        }
        Message* copy = new Message(message);
        if (!m_out.append(copy))
            delete copy;
        queued = true;
        log(context, "ENQUEUED OUTGOING MESSAGE", message);
    }

    if (contains(message.getResponseRequest(), kTypeTimeout) && message.getUserHeaderValue("TIMEOUT_DETECTOR") != "TARGET")
        queueWatch(message);

    if (waitSeconds == 0)
        return true;
    if (queued && !waitUntilRunning(message))
        return false;
    return waitForResponse(this, message, waitSeconds);
}

bool TesselTalk::deliverInProcess(Message& message)
{
    TesselTalkContext* context = getContext();
    TesselTalk* target = context ? context->findInstance(message.getTarget()) : this;
    if (!target)
        return false;
    if (contains(message.getResponseRequest(), kTypeReceived)) {
        TesselTalk* sender = context ? context->findInstance(message.getSender()) : nullptr;
        Message* ack = new Message;
        ack->setTarget(message.getSender().c_str());
        ack->setSender(message.getTarget().c_str());
        ack->setType(kTypeReceived);
        ack->setTimeout(0);
        ack->setReceivedSerial(message.getSerialNumber());
        ack->setSerialNumber(message.getSerialNumber());
        if (!(sender ? sender : this)->queueIncoming(ack))
            delete ack;
    }
    Message* copy = new Message(message);
    if (!target->queueIncoming(copy)) {
        delete copy;
        return false;
    }
    return true;
}

bool TesselTalk::streamSend(const Message& message, const SoString& text)
{
    return m_stream && m_stream->isGood() && m_stream->send(message.getTarget(), text);
}

void TesselTalk::queueWatch(const Message& message)
{
    Message* watch = new Message;
    watch->setTarget(message.getSender().c_str());
    watch->setSender(message.getSender().c_str());
    watch->setType(kTypeIgnore);
    watch->setResponseRequest(kTypeTimeout);
    watch->setTimeout(message.getTimeout() ? message.getTimeout() + 1 : kWatchDefaultTimeout);
    watch->setSerialNumber(message.getSerialNumber());
    if (!m_in.append(watch))
        delete watch;
}

bool TesselTalk::waitUntilRunning(const Message& message) const
{
    const Specifier target(message.getTarget().c_str(), false);
    const unsigned long start = TesselTalkUtils::getTimeSeconds();
    while (!target.isRunning()) {
        if (TesselTalkUtils::getTimeSeconds() >= start + kRunWaitSeconds)
            return false;
        TesselTalkUtils::sleep(kPollMs);
    }
    return true;
}

bool TesselTalk::sendResult(const Message& request, const SoString& resultText)
{
    Message reply;
    reply.setBody(resultText.c_str(), resultText.length());
    reply.setResultSerial(request.getSerialNumber());
    return sendResponse(this, request, kTypeResult, &reply);
}

bool sendResponse(TesselTalk* object, const Message& request, const char* kind, Message* reply)
{
    if (!object || !contains(request.getResponseRequest(), kind))
        return false;
    Message own;
    Message& answer = reply ? *reply : own;
    answer.setTarget(request.getSender().c_str());
    answer.setSender(request.getTarget().isEmpty() ? object->getAppName().c_str() : request.getTarget().c_str());
    answer.setResponseRequest("");
    answer.setTimeout(0);
    const SoString version = request.getVersion();
    answer.setVersion(version.c_str());
    if (!version.isEmpty()) {
        answer.setSerialNumber(request.getSerialNumber());
        SoString type(kind);
        if (request.isUserType())
            type << request.getType();
        answer.setType(type.c_str());
    } else {
        answer.setType(request.getType().c_str());
        answer.setSerialNumber(object->nextSerialNumber());
    }
    return object->send(answer, false, 0, nullptr);
}

bool sendError(TesselTalk* object, const Message& request, const char* text, long code, unsigned long waitSeconds)
{
    Message reply;
    reply.setBody(text);
    reply.setErrorSerial(request.getSerialNumber());
    reply.setHeader("Error-Code", code);
    const bool sent = sendResponse(object, request, kTypeError, &reply);
    if (sent && waitSeconds && object->findHandler(kTypeError, request.getSerialNumber()))
        waitForResponse(object, request, waitSeconds);
    if (object)
        log(object->getContext(), text, request);
    return sent;
}

bool waitForResponse(TesselTalk* object, const Message& request, unsigned long seconds)
{
    if (!object || seconds == 0)
        return false;
    const unsigned long start = TesselTalkUtils::getTimeSeconds();
    while (TesselTalkUtils::getTimeSeconds() < start + seconds) {
        TesselTalk::pump(TesselTalk::kBoth, nullptr);
        if (!object->findHandler("", request.getSerialNumber()))
            return true;
        object->waitForIncoming(kPollMs);
    }
    return false;
}

} // namespace TesselTalk
} // namespace ScObjects
