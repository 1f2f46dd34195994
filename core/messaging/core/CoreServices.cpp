#include "CoreServices.h"

#include <memory>
#include <vector>

#include "ApplicationRegistry.h"
#include "InterAppStream.h"
#include "LaunchServices.h"
#include "LaunchWatchHandlers.h"
#include "QueueServices.h"
#include "TesselTalk.h"
#include "TesselTalkConnector.h"
#include "TesselTalkContext.h"
#include "TesselTalkPing.h"

namespace ScObjects {
namespace TesselTalkData {

using TesselTalk::Message;

namespace {

// Lower layers call these from any thread, the setup thread included: they
// must never wait for the setup, so they look at the context as it is.
TesselTalk::TesselTalk* mainObject()
{
    TesselTalkContext* context = TesselTalkContext::peekCurrentContext();
    return context ? context->getMainInstance() : nullptr;
}

class Specifiers : public TesselTalk::SpecifierContext {
public:
    SoString getAppSpecifier() const override
    {
        TesselTalkContext* context = TesselTalkContext::getSharedContext();
        return context ? context->getAppSpecifier() : SoString();
    }
    TesselTalk::ApplicationRegistry* getRegistry() const override { return TesselTalkConnector::get(); }
    bool isRunning(const TesselTalk::Specifier& spec) const override { return TesselTalkUtils::isRunning(spec); }
};

class Queues : public QueueServices {
public:
    bool sendNotice(Message& notice) override
    {
        TesselTalk::TesselTalk* main = mainObject();
        return main && main->send(notice, false, 0, nullptr);
    }
    unsigned long nextSerialNumber() override
    {
        TesselTalkContext* context = TesselTalkContext::peekCurrentContext();
        return context ? context->getNextSerialNumber() : 0;
    }
    void logMessage(const char* title, const Message& message) override
    {
        if (TesselTalkContext* context = TesselTalkContext::peekCurrentContext())
            context->logMessage(title, message);
    }
    void forwardMessage(const Message& message, const char* kind, const SoString& root, const char* note) override
    {
        TesselTalk::TesselTalk* main = mainObject();
        TesselTalk::MsgHandler* forwarder = main ? main->findHandler(kind, TesselTalk::kNoSerial) : nullptr;
        if (!forwarder)
            return;
        Message copy(message);
        copy.setHeader("Diagnostics-Root", root.c_str());
        copy.setHeader("Diagnostics-Note", note);
        try {
            forwarder->handleMessage(TesselTalk::MsgHandler::kUser, copy, nullptr);
        } catch (...) {
            // Forwarding is best effort; the queue event itself stands.
        }
    }
};

// A launch watch as a handler of the main object.
class WatchHandler : public TesselTalk::MsgHandler {
public:
    explicit WatchHandler(TesselTalkUtils::LaunchWatch* watch)
        : m_watch(watch)
    {
    }
    long handleMessage(int kind, Message& message, SoString* result) override
    {
        return m_watch->handleMessage(kind, message, result);
    }
    SoString getMsgType() const override { return m_watch->getMsgType(); }
    unsigned long getSerialNumber() const override { return m_watch->getSerialNumber(); }

private:
    std::unique_ptr<TesselTalkUtils::LaunchWatch> m_watch;
};

class Launches : public TesselTalkUtils::LaunchHost {
public:
    SoString mainAppName() override
    {
        TesselTalk::TesselTalk* main = mainObject();
        return main ? main->getAppName() : SoString();
    }
    unsigned long nextSerialNumber() override
    {
        TesselTalkContext* context = TesselTalkContext::peekCurrentContext();
        return context ? context->getNextSerialNumber() : 0;
    }
    void queueOutgoing(Message* message) override
    {
        TesselTalk::TesselTalk* main = mainObject();
        if (!main || !main->outgoingQueue().append(message))
            delete message;
    }
    void installWatch(TesselTalkUtils::LaunchWatch* watch) override
    {
        TesselTalk::TesselTalk* main = mainObject();
        if (!main) {
            delete watch;
            return;
        }
        delete main->changeHandler(new WatchHandler(watch));
    }
    void removeWatch(const char* type, unsigned long serial) override
    {
        if (TesselTalk::TesselTalk* main = mainObject())
            delete main->removeHandler(type, serial);
    }
    void removeQueuedMessages(unsigned long serial) override
    {
        TesselTalk::TesselTalk* main = mainObject();
        if (!main)
            return;
        MessageQueue& queue = main->outgoingQueue();
        ObjectLock guard(queue);
        std::vector<Message*> kept;
        for (long n = queue.count(); n > 0; --n) {
            Message* message = queue.getNextMessage(TesselTalk::kNoSerial);
            if (!message)
                break;
            if (message->getSerialNumber() == serial)
                delete message;
            else
                kept.push_back(message);
        }
        for (Message* message : kept) {
            if (!queue.append(message))
                delete message;
        }
    }
};

class StreamInbox : public TesselTalkUtils::LaunchInbox {
public:
    explicit StreamInbox(InterAppStream* stream)
        : m_stream(stream)
    {
    }
    bool take(SoString& text) override
    {
        m_stream->messagePending();
        while (m_stream->receive()) {
        }
        if (m_stream->isEmpty())
            return false;
        text = m_stream->getMessages();
        return true;
    }

private:
    std::unique_ptr<InterAppStream> m_stream;
};

class Endpoints : public TesselTalkUtils::LaunchEndpoints {
public:
    bool canCreateLocally(const SoString& name) override
    {
        return InterAppStream::nameIsFree(name);
    }
    std::unique_ptr<TesselTalkUtils::LaunchInbox> open(const SoString& name) override
    {
        std::unique_ptr<InterAppStream> stream(new InterAppStream(name, false));
        if (!stream->isGood())
            return nullptr;
        return std::unique_ptr<TesselTalkUtils::LaunchInbox>(new StreamInbox(stream.release()));
    }
};

// The launch layer's running test probes through this process's stream.
class StreamProbe : public TesselTalkUtils::ProbeStream {
public:
    bool canCreateLocally(const SoString& name) override
    {
        InterAppStream* stream = InterAppStream::get();
        return !stream || !stream->isGood() || stream->canOpen(name, false);
    }
    bool canTakeSenderName(const SoString& name) override
    {
        InterAppStream* stream = InterAppStream::get();
        return stream && stream->canOpen(name, false);
    }
    bool deliver(const SoString& target, const SoString& text) override
    {
        InterAppStream* stream = InterAppStream::get();
        return stream && stream->isGood() && stream->send(target, text);
    }
};

Specifiers gSpecifiers;
StreamProbe gProbe;
Queues gQueues;
Launches gLaunches;
Endpoints gEndpoints;

} // namespace

void installCoreServices()
{
    TesselTalk::setSpecifierContext(&gSpecifiers);
    setQueueServices(&gQueues);
    TesselTalkUtils::setLaunchHost(&gLaunches);
    TesselTalkUtils::setLaunchEndpoints(&gEndpoints);
    TesselTalkUtils::setProbeStream(&gProbe);
}

void removeCoreServices()
{
    TesselTalkUtils::setProbeStream(nullptr);
    TesselTalkUtils::setLaunchEndpoints(nullptr);
    TesselTalkUtils::setLaunchHost(nullptr);
    setQueueServices(nullptr);
    TesselTalk::setSpecifierContext(nullptr);
}

} // namespace TesselTalkData
} // namespace ScObjects
