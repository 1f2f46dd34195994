#include "PtTesselTalk.h"

#include <unistd.h>

#include <memory>

#include "HelloHandler.h"
#include "Message.h"
#include "Specifier.h"
#include "TesselTalk.h"
#include "TesselTalkThread.h"

using ScObjects::SoString;
using ScObjects::TesselTalk::Message;
using ScObjects::TesselTalk::MsgHandler;
using ScObjects::TesselTalk::Specifier;
using Messaging = ScObjects::TesselTalk::TesselTalk;

namespace {

bool gMessageReceived = false;

void systemSleep(unsigned int seconds)
{
    ::sleep(seconds);
}

PtTesselTalk::SleepFunction gSleep = &systemSleep;

} // namespace

HelloHandler::~HelloHandler() = default;

long HelloHandler::handleMessage(int kind, Message&, SoString*)
{
    if (kind == MsgHandler::kResult)
        gMessageReceived = true;
    return 0;
}

bool HelloHandler::messageReceived()
{
    return gMessageReceived;
}

void HelloHandler::clearMessageReceived()
{
    gMessageReceived = false;
}

PtTesselTalk::~PtTesselTalk()
{
    Terminate();
}

bool PtTesselTalk::Initialize()
{
    if (m_tt)
        return true;
    // The thread keeps us reachable (and answers pings) while the host is busy.
    ScObjects::TesselTalkThread::install();
    Messaging::InitTerm::init(SoString(kOwnSpecifier), false);
    const Specifier own(kOwnSpecifier, false);
    m_tt = new Messaging(own.c_str(), new HelloHandler, true, nullptr);
    return true;
}

void PtTesselTalk::Terminate()
{
    if (!m_tt)
        return;
    try {
        delete m_tt;
        m_tt = nullptr;
        Messaging::InitTerm::exit();
    } catch (...) {
        m_tt = nullptr;
    }
}

bool PtTesselTalk::isTesselBusy()
{
    return Messaging::Thread::ping(kTesselSpecifier, "STATUS", 2) == "BUSY";
}

int PtTesselTalk::DoLaunchTessel(const char* script, bool bringToFront)
{
    const Specifier target(kTesselSpecifier, true);
    if (!target.isRunning() && !target.isInstalled())
        return TesselHandOff::kNotInstalled;
    if (!m_tt)
        return TesselHandOff::kNoAnswer;

    auto message = std::make_unique<Message>();
    message->setTarget(target.c_str());
    message->setResponseRequest("Result");
    SoString body(script ? script : "");
    body << "'done';";
    message->setBody(body.c_str());

    HelloHandler::clearMessageReceived();
    m_tt->send(*message, true, kSendWaitSeconds, nullptr);
    for (int i = 0; i < kAnswerWaits; ++i) {
        if (HelloHandler::messageReceived()) {
            if (bringToFront)
                Messaging::bringToFront(target.c_str(), nullptr);
            break;
        }
        sleepSeconds(1);
        Messaging::pump(Messaging::kBoth, nullptr);
    }
    return HelloHandler::messageReceived() ? TesselHandOff::kAnswered : TesselHandOff::kNoAnswer;
}

bool PtTesselTalk::outgoingMessagePending() const
{
    return m_tt && m_tt->outgoingMessagePending();
}

void PtTesselTalk::setSleepFunction(SleepFunction sleeper)
{
    gSleep = sleeper ? sleeper : &systemSleep;
}

void PtTesselTalk::sleepSeconds(unsigned int seconds)
{
    gSleep(seconds);
}

bool TesselTalkHandOff::isTesselRunning()
{
    return Messaging::targetIsRunning(PtTesselTalk::kTesselSpecifier);
}

int TesselTalkHandOff::launchTessel(const std::string& script, bool bringToFront)
{
    return m_link.DoLaunchTessel(script.c_str(), bringToFront);
}
