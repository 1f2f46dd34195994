// The messaging object within one process: send's refusals, in-process
// delivery and its answers, the time-out watch, the outgoing queue's limit,
// the handler table and the setup. No messaging thread is installed here.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "TesselTalk.h"
#include "TesselTalkConnector.h"
#include "TesselTalkContext.h"
#include "TesselTalkSetupThread.h"
#include "TesselTalkUtils.h"
#include "TemporaryUserFolders.h"

using namespace ScObjects;
using TesselTalk::Message;
using TesselTalk::MsgHandler;
using Messaging = TesselTalk::TesselTalk;

namespace {

struct Seen {
    int kind;
    std::string type;
    std::string body;
    std::string code;
    unsigned long serial;
};

class Recording : public MsgHandler {
public:
    Recording(std::vector<Seen>* seen, const char* type = "Calligo", unsigned long serial = TesselTalk::kNoSerial,
        long code = 0, bool raise = false)
        : m_seen(seen), m_type(type), m_serial(serial), m_code(code), m_raise(raise)
    {
    }
    long handleMessage(int kind, Message& message, SoString* result) override
    {
        m_seen->push_back({kind, message.getType().c_str(), message.getBody().c_str(),
            message.getUserHeaderValue("Error-Code").c_str(), message.getSerialNumber()});
        if (m_raise)
            throw std::runtime_error("handler");
        *result = "re:";
        *result << message.getBody();
        return m_code;
    }
    SoString getMsgType() const override { return SoString(m_type.c_str()); }
    unsigned long getSerialNumber() const override { return m_serial; }

private:
    std::vector<Seen>* m_seen;
    std::string m_type;
    unsigned long m_serial;
    long m_code;
    bool m_raise;
};

class TesselTalkCore : public testing::Test {
protected:
    void SetUp() override
    {
        m_root = makeTemporaryUserFolders("ttcore");
        ASSERT_FALSE(m_root.empty());
        ASSERT_EQ(Messaging::InitTerm::init(SoString("ttsender-1.0"), true), 1);
        m_main = new Messaging("ttsender-1.0", new Recording(&m_answers), true);
    }
    void TearDown() override
    {
        delete m_other;
        delete m_main;
        Messaging::InitTerm::exit();
        std::filesystem::remove_all(m_root);
    }
    void pumpAll(int times = 3)
    {
        for (int i = 0; i < times; ++i)
            Messaging::pump(Messaging::kBoth);
    }
    const Seen* answer(int kind) const
    {
        for (const Seen& s : m_answers) {
            if (s.kind == kind)
                return &s;
        }
        return nullptr;
    }
    static Message to(const char* target, const char* body, const char* wanted)
    {
        Message message;
        message.setTarget(target);
        message.setBody(body);
        message.setResponseRequest(wanted);
        return message;
    }

    std::string m_root;
    std::vector<Seen> m_answers;
    std::vector<Seen> m_handled;
    Messaging* m_main = nullptr;
    Messaging* m_other = nullptr;
};

} // namespace

TEST_F(TesselTalkCore, SendRefusesWhatCannotTravel)
{
    Message empty = to("ttother-1.0", "", "Error");
    EXPECT_FALSE(m_main->send(empty, true, 0, nullptr));
    pumpAll();
    EXPECT_TRUE(m_answers.empty()) << "an empty request is refused silently";

    Message nowhere = to("", "text", "Error");
    nowhere.setSender("ttsender-1.0");
    EXPECT_FALSE(m_main->send(nowhere, true, 0, nullptr));
    pumpAll();
    ASSERT_NE(answer(MsgHandler::kError), nullptr);
    EXPECT_EQ(answer(MsgHandler::kError)->body, "ERROR: INVALID SPECIFIER");
    EXPECT_EQ(answer(MsgHandler::kError)->code, "59");

    Message notice = to("ttother-1.0", "", "");
    notice.setType("Timeout");
    notice.setHeader("TIMEOUT_DETECTOR", "SENDER");
    EXPECT_FALSE(m_main->send(notice, false, 0, nullptr));
}

TEST_F(TesselTalkCore, InProcessDeliveryIsAcknowledgedAnsweredAndProcessed)
{
    m_other = new Messaging("ttother-1.0", new Recording(&m_handled), false);
    Message message = to("ttother-1.0", "ping", "Received Result");
    message.setSerialNumber(m_main->nextSerialNumber());
    std::vector<Seen> acknowledged;
    EXPECT_EQ(m_main->changeHandler(new Recording(&acknowledged, "Received", message.getSerialNumber())), nullptr);
    ASSERT_TRUE(m_main->send(message, false, 0, nullptr));
    EXPECT_EQ(message.getResponseRequest(), "Received Result Processed");
    EXPECT_EQ(message.getSender(), "ttsender-1.0");
    // The acknowledgement waits first in our queue: one pump hands it to its
    // one-shot handler, which then goes, while the rest is still on its way.
    Messaging::pump(Messaging::kBoth);
    ASSERT_EQ(acknowledged.size(), 1u);
    EXPECT_EQ(acknowledged[0].kind, MsgHandler::kReceived);
    EXPECT_EQ(m_main->findHandler("Received", message.getSerialNumber()), nullptr);
    pumpAll();
    ASSERT_EQ(m_handled.size(), 1u);
    EXPECT_EQ(m_handled[0].kind, MsgHandler::kRequest);
    std::vector<std::string> types;
    for (const Seen& s : m_answers) {
        EXPECT_EQ(s.serial, message.getSerialNumber());
        types.push_back(std::to_string(s.kind) + ":" + s.type + ":" + s.body);
    }
    // The default handler sees answers typed "Calligo"; their kind says what they are.
    EXPECT_EQ(types, (std::vector<std::string>{"3:Calligo:re:ping", "0:Processed:"}));
}

TEST_F(TesselTalkCore, ObjectWaitingInAnotherThreadWakesForEachMessageDeliveredInProcess)
{
    m_other = new Messaging("ttother-1.0", new Recording(&m_handled), false);
    constexpr int kMessages = 3;
    std::vector<long> wokeAfterMs;
    std::atomic<int> waiting{0};
    std::thread waiter([&] {
        for (int i = 0; i < kMessages; ++i) {
            const auto start = std::chrono::steady_clock::now();
            waiting = i + 1;
            m_other->waitForIncoming(5000);
            wokeAfterMs.push_back(long(std::chrono::duration_cast<std::chrono::milliseconds>(
                std::chrono::steady_clock::now() - start).count()));
            m_other->processIncomingMessage(TesselTalk::kNoSerial, true);
        }
    });
    for (int i = 0; i < kMessages; ++i) {
        while (waiting < i + 1)
            std::this_thread::yield();
        // Long enough for the waiter to be asleep when the message comes.
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        Message message = to("ttother-1.0", "wake", "");
        EXPECT_TRUE(m_main->send(message, false, 0, nullptr));
    }
    waiter.join();
    ASSERT_EQ(wokeAfterMs.size(), std::size_t(kMessages));
    for (int i = 0; i < kMessages; ++i)
        EXPECT_LT(wokeAfterMs[std::size_t(i)], 2000) << "message " << i;
    EXPECT_EQ(m_handled.size(), std::size_t(kMessages));
}

TEST_F(TesselTalkCore, HandlerFaultsBecomeErrorAnswersAndNeverLeavePump)
{
    struct Row {
        long code;
        bool raise;
        const char* body;
        const char* errorCode;
    };
    for (const Row& row : {Row{12, false, "re:x", "12"}, Row{0, true, "Exception", "-29"}}) {
        m_answers.clear();
        delete m_other;
        m_other = new Messaging("ttother-1.0", new Recording(&m_handled, "Calligo", TesselTalk::kNoSerial, row.code,
            row.raise), false);
        Message message = to("ttother-1.0", "x", "Error");
        ASSERT_TRUE(m_main->send(message, false, 0, nullptr));
        EXPECT_NO_THROW(pumpAll());
        const Seen* error = answer(MsgHandler::kError);
        ASSERT_NE(error, nullptr) << row.errorCode;
        EXPECT_EQ(error->body, row.body);
        EXPECT_EQ(error->code, row.errorCode);
    }
}

TEST_F(TesselTalkCore, TimeoutWatchOutlivesTheRequestByOneSecondOrSixty)
{
    m_other = new Messaging("ttother-1.0", nullptr, false);
    for (unsigned long timeout : {0UL, 5UL}) {
        Message message = to("ttother-1.0", "x", "Timeout");
        message.setTimeout(timeout);
        ASSERT_TRUE(m_main->send(message, false, 0, nullptr));
        Message* watch = m_main->incomingQueue().findMessageForTarget(SoString("ttsender-1.0"));
        ASSERT_NE(watch, nullptr);
        EXPECT_EQ(watch->getType(), "Ignore");
        EXPECT_EQ(watch->getResponseRequest(), "Timeout");
        EXPECT_EQ(watch->getSerialNumber(), message.getSerialNumber());
        EXPECT_EQ(watch->getTimeout(), timeout ? timeout + 1 : 60);
        m_main->incomingQueue().removeTimeoutMessage(message.getSerialNumber());
    }
    Message detected = to("ttother-1.0", "x", "Timeout");
    detected.setHeader("TIMEOUT_DETECTOR", "TARGET");
    ASSERT_TRUE(m_main->send(detected, false, 0, nullptr));
    EXPECT_EQ(m_main->incomingQueue().findMessageForTarget(SoString("ttsender-1.0")), nullptr);
}

TEST_F(TesselTalkCore, KeptBackMessageExpiresSixHundredSecondsAfterFirstQueueing)
{
    const unsigned long now = TesselTalkUtils::getTimeSeconds();
    struct Row {
        unsigned long age;
        bool expires;
    };
    for (const Row& row : {Row{598, false}, Row{600, true}}) {
        m_answers.clear();
        Message* message = new Message(to("nobody-1.0", "x", "Timeout"));
        message->setSender("ttsender-1.0");
        message->setSerialNumber(m_main->nextSerialNumber());
        message->setTimestamp(now - row.age);
        message->setTimeout(3600);
        ASSERT_EQ(m_main->outgoingQueue().append(message), 1);
        EXPECT_FALSE(m_main->processOutgoingMessage());
        EXPECT_FALSE(m_main->processOutgoingMessage());
        EXPECT_EQ(m_main->outgoingMessagePending(), !row.expires) << row.age;
        pumpAll();
        EXPECT_EQ(answer(MsgHandler::kTimeout) != nullptr, row.expires) << row.age;
        m_main->outgoingQueue().removeExpiredMessages();
        while (Message* left = m_main->outgoingQueue().getNextMessage(TesselTalk::kNoSerial))
            delete left;
    }
}

TEST_F(TesselTalkCore, HandlerTableMatchesTypeAndSerial)
{
    std::vector<Seen> seen;
    EXPECT_EQ(m_main->changeHandler(new Recording(&seen, "Result", 7)), nullptr);
    EXPECT_EQ(m_main->changeHandler(new Recording(&seen, "Error", 7)), nullptr);
    EXPECT_EQ(m_main->changeHandler(new Recording(&seen, "Result", 8)), nullptr);
    MsgHandler* replaced = m_main->changeHandler(new Recording(&seen, "Result", 7));
    EXPECT_NE(replaced, nullptr);
    delete replaced;
    EXPECT_NE(m_main->findHandler("", 7), nullptr);
    EXPECT_EQ(m_main->findHandler("Result", TesselTalk::kNoSerial), nullptr);
    EXPECT_NE(m_main->findHandler("Calligo", TesselTalk::kNoSerial), nullptr);
    m_main->deleteHandlers(7);
    EXPECT_EQ(m_main->findHandler("", 7), nullptr);
    EXPECT_NE(m_main->findHandler("Result", 8), nullptr);
    EXPECT_EQ(m_main->handlerCount(), 2);
}

TEST_F(TesselTalkCore, SetupRunsOnceAndReportsItsTimes)
{
    TesselTalkContext* context = TesselTalkContext::getCurrentContext();
    EXPECT_EQ(Messaging::InitTerm::init(SoString("ttsender-1.0"), true), 0);
    EXPECT_EQ(TesselTalkContext::getCurrentContext(), context);
    EXPECT_FALSE(TesselTalk::waitForResponse(m_main, Message(), 0));
    const std::string sync = TesselTalkSetupThread::setupTimeText().c_str();
    EXPECT_EQ(sync.rfind("thread=", 0), 0u) << sync;
    EXPECT_NE(sync.find("ms, (synchronous setup)"), std::string::npos) << sync;

    delete m_main;
    m_main = nullptr;
    ASSERT_EQ(Messaging::InitTerm::exit(), 1);
    EXPECT_EQ(Messaging::InitTerm::exit(), 0);
    ASSERT_EQ(Messaging::InitTerm::init(SoString("ttsender-1.0"), false), 1);
    ASSERT_NE(TesselTalkContext::getCurrentContext(), nullptr);
    const std::string async = TesselTalkSetupThread::setupTimeText().c_str();
    EXPECT_TRUE(async.find("left=") != std::string::npos || async.find("lost=") != std::string::npos) << async;
    EXPECT_EQ(Messaging::InitTerm::init(SoString(""), true), 0);
}

TEST_F(TesselTalkCore, NestedContextEndsAndTheOuterOneGoesOn)
{
    TesselTalkContext* outer = TesselTalkContext::getCurrentContext();
    ASSERT_TRUE(TesselTalkSetupThread::runSetup(SoString("ttinner-1.0")).isEmpty());
    TesselTalkContext* inner = TesselTalkContext::getCurrentContext();
    ASSERT_NE(inner, outer);
    EXPECT_EQ(Messaging::InitTerm::exit(), 0) << "only the nested context ends";
    EXPECT_EQ(TesselTalkContext::getCurrentContext(), outer);

    // What the process set up is still there for the outer context.
    Message toSelf;
    toSelf.setTarget("ttsender-1.0");
    toSelf.setType("Note");
    toSelf.setBody("still here");
    EXPECT_TRUE(m_main->send(toSelf, false, 0, nullptr));
    pumpAll();
    EXPECT_NE(answer(TesselTalk::MsgHandler::kUser), nullptr);

    // A nested context deleted while current gives the place back too.
    ASSERT_TRUE(TesselTalkSetupThread::runSetup(SoString("ttinner-1.0")).isEmpty());
    delete TesselTalkContext::getCurrentContext();
    EXPECT_EQ(TesselTalkContext::getCurrentContext(), outer);
}

TEST_F(TesselTalkCore, MainObjectIsSetAndForwardersAnswerFromTheRegistry)
{
    m_other = new Messaging("ttother-1.0", new Recording(&m_answers), false);
    EXPECT_EQ(Messaging::get(nullptr), m_main);
    EXPECT_EQ(Messaging::getSharedAppName(), "ttsender-1.0");
    Messaging::set(m_other);
    EXPECT_EQ(Messaging::get(nullptr), m_other);
    EXPECT_EQ(Messaging::getSharedAppName(), "ttother-1.0");
    Messaging::set(m_main);
    EXPECT_EQ(Messaging::get(nullptr), m_main);

    // Without a messaging thread nobody handed us launch parameters.
    EXPECT_TRUE(Messaging::getLaunchOptions().isEmpty());
    EXPECT_FALSE(Messaging::suppressStartupScreen());

    TesselTalkConnector* connector = TesselTalkConnector::get();
    ASSERT_NE(connector, nullptr);
    const std::string unknown = Messaging::getConnectorConfig(SoString("ttforward-2.0")).c_str();
    EXPECT_EQ(unknown.find("ttforward"), std::string::npos) << unknown;
    ASSERT_TRUE(connector->registerApplication(TesselTalk::Specifier("ttforward-2.0", false), "/opt/ttforward", "Forward", true));
    EXPECT_TRUE(Messaging::updateConnectorCache());
    const std::string known = Messaging::getConnectorConfig(SoString("ttforward-2.0")).c_str();
    EXPECT_NE(known.find("ttforward"), std::string::npos) << known;
}

TEST(TesselTalkSetup, UnusableSpecifierIsRefused)
{
    EXPECT_EQ(TesselTalkSetupThread::runSetup(SoString("")), "INVALIDSPEC");
    EXPECT_EQ(TesselTalkContext::peekCurrentContext(), nullptr);
}

TEST(TesselTalkSetup, ConnectorSetByTheApplicationIsBroughtUpToDate)
{
    const std::string root = makeTemporaryUserFolders("ttsetup");
    ASSERT_FALSE(root.empty());
    TesselTalkConnector own{SoString("default")};
    TesselTalkConnector::set(&own);
    EXPECT_EQ(own.getNumberOfRegisteredApplications(), 0);
    // Registered by somebody else after the application loaded its records.
    TesselTalkConnector elsewhere{SoString("default")};
    ASSERT_TRUE(elsewhere.registerApplication(TesselTalk::Specifier("ttlater-1.0", false), "/opt/ttlater", "Later", true));

    ASSERT_EQ(Messaging::InitTerm::init(SoString("ttsetup-1.0"), true), 1);
    EXPECT_EQ(own.getNumberOfRegisteredApplications(), 1);
    Messaging::InitTerm::exit();
    TesselTalkConnector::set(nullptr);
    std::filesystem::remove_all(root);
}
