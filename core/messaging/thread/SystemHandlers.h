// The system handlers of the messaging thread: the "ping" entry point and
// the answers to "LAUNCHED", "DIAGNOSTICS" and "INFO", and the forwarding
// of messages, logs and errors to a watching application.
#pragma once

#include "MsgHandler.h"
#include "SoString.h"

namespace ScObjects {

class TesselTalkContext;
class TesselTalkThread;

class ThreadMsgHandler : public TesselTalk::MsgHandler {
public:
    explicit ThreadMsgHandler(TesselTalkContext* context)
        : m_context(context)
    {
    }
    // Answers getMsgType() and passes the message on to the main object.
    long handleMessage(int kind, TesselTalk::Message& message, SoString* response) override;
    // Readdresses message to the main object, typed getMsgType(), and sends it.
    bool sendToMainInstance(TesselTalk::Message& message);

protected:
    TesselTalkContext* m_context;
};

// Registered under "MAIN": every request that reaches the thread's endpoint.
class ThreadMainMsgHandler : public ThreadMsgHandler {
public:
    ThreadMainMsgHandler(TesselTalkContext* context, TesselTalkThread* thread)
        : ThreadMsgHandler(context)
        , m_thread(thread)
    {
    }
    long handleMessage(int kind, TesselTalk::Message& message, SoString* response) override;

private:
    const SoString m_pingType{"ping"};
    const SoString m_requestHeader{"ECHO_REQUEST"};
    const SoString m_responseHeader{"ECHO_RESPONSE"};
    TesselTalkThread* m_thread;
};

// A launched application confirms that it has its launch parameters.
class ThreadLaunchedMsgHandler : public ThreadMsgHandler {
public:
    using ThreadMsgHandler::ThreadMsgHandler;
    long handleMessage(int kind, TesselTalk::Message& message, SoString* response) override;
    SoString getMsgType() const override { return SoString("LAUNCHED"); }
};

class ThreadDiagnosticsMsgHandler : public ThreadMsgHandler {
public:
    using ThreadMsgHandler::ThreadMsgHandler;
    long handleMessage(int kind, TesselTalk::Message& message, SoString* response) override;
    SoString getMsgType() const override { return SoString("DIAGNOSTICS"); }
};

// The sections named in the body ("context", "thread", "messages", "log",
// "connector"; empty or "all" for all but "log") as diagnostics lines.
class ThreadInfoMsgHandler : public ThreadMsgHandler {
public:
    using ThreadMsgHandler::ThreadMsgHandler;
    long handleMessage(int kind, TesselTalk::Message& message, SoString* response) override;
    SoString getMsgType() const override { return SoString("INFO"); }
};

// Installed in the main object by type ("FWDMESSAGES", "FWDLOGS",
// "FWDERRORS"): sends what it is given to the watching target as "Debug".
class ThreadForwardMsgHandler : public ThreadMsgHandler {
public:
    ThreadForwardMsgHandler(TesselTalkContext* context, const SoString& target, const SoString& type)
        : ThreadMsgHandler(context)
        , m_target(target)
        , m_type(type)
    {
    }
    long handleMessage(int kind, TesselTalk::Message& message, SoString* response) override;
    SoString getMsgType() const override { return m_type; }
    const SoString& target() const { return m_target; }

private:
    SoString m_target;
    SoString m_type;
};

} // namespace ScObjects
