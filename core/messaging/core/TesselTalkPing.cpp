#include "TesselTalkPing.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>

#include "ApplicationRegistry.h"
#include "InterAppStream.h"
#include "Launcher.h"
#include "Message.h"
#include "TesselTalkContext.h"
#include "TesselTalkSetupThread.h"
#include "TesselTalkUtils.h"

namespace ScObjects {
namespace TesselTalkUtils {

namespace {

SoString ownAppSpecifier()
{
    TesselTalkContext* context = TesselTalkContext::peekCurrentContext();
    return context ? context->getAppSpecifier() : SoString("unknown");
}

// Everything that has reached stream, as one text; empty when nothing has.
SoString takeAll(InterAppStream& stream)
{
    if (!stream.messagePending())
        return SoString();
    while (stream.receive()) {
    }
    return stream.getMessages();
}

// One reply endpoint is kept between pings, because making and removing an
// endpoint costs more than the rest of a ping. Only an endpoint whose
// exchange ended with its answer is kept: each request is answered once, so
// no late answer can reach the next ping.
struct SpareEndpoint {
    std::mutex mutex;
    SoString owner;
    std::unique_ptr<InterAppStream> stream;
};

SpareEndpoint& spare()
{
    static SpareEndpoint endpoint;
    return endpoint;
}

// Our reply endpoint: our own specifier with the number as instance and
// the suffix "ping", so that the answering thread can tell who asked.
std::unique_ptr<InterAppStream> openReplyEndpoint(const SoString& owner, unsigned long number)
{
    {
        SpareEndpoint& kept = spare();
        std::lock_guard<std::mutex> guard(kept.mutex);
        std::unique_ptr<InterAppStream> stream = std::move(kept.stream);
        if (stream && kept.owner == owner && stream->isGood()) {
            // Whatever a stranger left there is not our answer.
            takeAll(*stream);
            return stream;
        }
    }
    for (int attempt = 0; attempt < 4; ++attempt) {
        TesselTalk::Specifier self(owner.c_str(), false);
        SoString instance;
        instance << number;
        self.setInstance(instance.c_str());
        self.setSuffix("ping");
        std::unique_ptr<InterAppStream> stream(createNextAvailableInterAppStream(self));
        if (stream && stream->isGood()) {
            // Waited on afresh for every answer: the answering thread's
            // connection may serve the next ping's answer too.
            stream->setKeepsConnections(true);
            return stream;
        }
        number = static_cast<unsigned long>(std::rand());
    }
    return nullptr;
}

void keepReplyEndpoint(const SoString& owner, std::unique_ptr<InterAppStream> stream)
{
    SpareEndpoint& kept = spare();
    std::lock_guard<std::mutex> guard(kept.mutex);
    if (!kept.stream) {
        kept.owner = owner;
        kept.stream = std::move(stream);
    }
}

bool takeAnswer(InterAppStream& stream, SoString& answer, SoString* responseBody)
{
    const SoString text = takeAll(stream);
    const char* cursor = text.c_str();
    const char* end = cursor + text.length();
    while (cursor < end) {
        TesselTalk::Message reply;
        const char* next = reply.readFromString(cursor, end - cursor);
        if (next <= cursor)
            break;
        cursor = next;
        // The answering thread puts its answer under the request's header name.
        const SoString value = reply.getUserHeaderValue("ECHO_REQUEST");
        if (reply.getType() == "ping" && !value.isEmpty()) {
            answer = value;
            if (responseBody)
                *responseBody = reply.getBody();
            return true;
        }
    }
    return false;
}

} // namespace

void releaseReplyEndpoint()
{
    SpareEndpoint& kept = spare();
    std::lock_guard<std::mutex> guard(kept.mutex);
    kept.stream.reset();
}

SoString threadEndpointName(const SoString& appSpec)
{
    return threadEndpointName(TesselTalk::Specifier(appSpec.c_str(), false));
}

SoString ping(const SoString& target, bool toThread, const SoString& request, unsigned long number,
    long timeoutSeconds, const SoString* body, SoString* responseBody)
{
    InterAppStream* process = InterAppStream::get();
    if (!process || !process->isGood())
        return SoString("NOINTERAPPSTREAM");
    const TesselTalk::Specifier spec(target.c_str(), true);
    if (spec.isEmpty())
        return SoString();
    const SoString owner = ownAppSpecifier();
    std::unique_ptr<InterAppStream> replies = openReplyEndpoint(owner, number);
    if (!replies)
        return SoString();

    TesselTalk::Message message;
    message.setTarget(toThread ? threadEndpointName(spec).c_str() : spec.c_str());
    message.setSender(replies->name().c_str());
    message.setType("ping");
    message.setHeader("ECHO_REQUEST", request.c_str());
    message.setSerialNumber(number);
    if (body)
        message.setBody(body->c_str(), body->length());
    SoString text;
    if (!message.writeToString(text) || !replies->send(message.getTarget(), text))
        return SoString();

    const double deadline = getUTCTimeMilliSeconds() + double(timeoutSeconds) * 1000.0;
    SoString answer;
    for (;;) {
        if (takeAnswer(*replies, answer, responseBody)) {
            keepReplyEndpoint(owner, std::move(replies));
            return answer;
        }
        const double left = deadline - getUTCTimeMilliSeconds();
        if (left <= 0)
            break;
        // The answer ends the wait at once, and with it the answering
        // thread's send, which holds that thread's lock until we take it in.
        replies->waitForActivity(int(left) + 1);
    }
    return SoString();
}

bool isRunning(const TesselTalk::Specifier& spec)
{
    if (spec.isEmpty())
        return false;
    SoString self;
    unsigned long serial = 0;
    TesselTalkContext* context = TesselTalkSetupThread::isSetupThreadRunning()
        ? nullptr
        : TesselTalkContext::peekCurrentContext();
    if (context) {
        self = context->getAppSpecifier();
        serial = context->getNextSerialNumber();
    } else {
        char stamp[64];
        std::snprintf(stamp, sizeof stamp, "Unknown%.0f", getUTCTimeMilliSeconds());
        self = stamp;
    }
    return isRunning(spec, self, serial);
}

bool isBusy(const TesselTalk::Specifier& spec)
{
    if (spec.isEmpty() || !InterAppStream::get())
        return false;
    return ping(spec, true, SoString("STATUS"), static_cast<unsigned long>(std::rand()), 1, nullptr, nullptr) == "BUSY";
}

SoString status(const TesselTalk::Specifier& spec)
{
    return ping(spec, true, SoString("STATUS"), static_cast<unsigned long>(std::rand()), 2, nullptr, nullptr);
}

} // namespace TesselTalkUtils
} // namespace ScObjects
