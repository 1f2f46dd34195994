// Two real processes talking over their endpoints: this test process as
// "ttsender-1.0" and tt_peer as the other side.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>

#include "MessagingEnvironment.h"
#include "Specifier.h"
#include "TesselTalkPing.h"
#include "TesselTalkThread.h"
#include "TesselTalkUtils.h"

using namespace ScObjects;
using TesselTalk::Message;
using TesselTalk::MsgHandler;
using Messaging = TesselTalk::TesselTalk;

namespace {

Message request(const char* target, const char* body, const char* wanted)
{
    Message message;
    message.setTarget(target);
    message.setBody(body);
    message.setResponseRequest(wanted);
    return message;
}

} // namespace

using TwoProcess = MessagingEnvironment;

TEST_F(TwoProcess, AnswersReachTheirHandlersAndOneShotHandlersGo)
{
    registerPeer("ttpeer-1.0");
    const std::string out = m_root + "/peer.out";
    startPeer("ttpeer-1.0", out);

    // With waiting: the one-shot handler takes the result, then goes.
    Message waited = request("ttpeer", "hello", "Received Result");
    waited.setSerialNumber(m_tt->nextSerialNumber());
    std::vector<Answer> oneShot;
    delete m_tt->changeHandler(new Recorder(&oneShot, "Result", waited.getSerialNumber()));
    EXPECT_TRUE(m_tt->send(waited, false, 10, nullptr));
    ASSERT_EQ(oneShot.size(), 1u);
    EXPECT_EQ(oneShot[0].kind, MsgHandler::kResult);
    EXPECT_EQ(oneShot[0].body, "echo:hello");
    EXPECT_EQ(m_tt->findHandler("", waited.getSerialNumber()), nullptr);
    EXPECT_EQ(waited.getResponseRequest(), "Received Result Processed");

    // Without waiting: every answer reaches the default handler.
    Message plain = request("ttpeer", "again", "Received Result");
    EXPECT_TRUE(m_tt->send(plain, false, 0, nullptr));
    const unsigned long serial = plain.getSerialNumber();
    EXPECT_TRUE(pumpUntil([&] {
        int seen = 0;
        for (const Answer& a : m_answers)
            seen += a.serial == serial;
        return seen >= 3;
    }));
    std::vector<int> kinds;
    for (const Answer& a : m_answers) {
        if (a.serial == serial)
            kinds.push_back(a.kind);
    }
    EXPECT_EQ(kinds, (std::vector<int>{MsgHandler::kReceived, MsgHandler::kResult, MsgHandler::kUser}));
    EXPECT_TRUE(hasAnswer(MsgHandler::kResult, "echo:again"));
    EXPECT_EQ(countLines(out, "handled "), 2);
}

TEST_F(TwoProcess, FailuresComeBackAsErrorAnswers)
{
    registerPeer("ttpeer-1.0");
    startPeer("ttpeer-1.0", m_root + "/peer.out");
    struct Row {
        const char* body;
        const char* text;
        const char* code;
    };
    for (const Row& row : {Row{"fail", "failed", "7"}, Row{"throw", "Exception", "-29"}}) {
        Message message = request("ttpeer", row.body, "Error");
        ASSERT_TRUE(m_tt->send(message, false, 0, nullptr));
        EXPECT_TRUE(pumpUntil([&] { return hasAnswer(MsgHandler::kError, row.text); })) << row.body;
        for (const Answer& a : m_answers) {
            if (a.kind == MsgHandler::kError && a.body == row.text) {
                EXPECT_EQ(a.errorCode, row.code) << row.body;
            }
        }
    }
    // The peer survived its handler's exception. It may still be pumping:
    // its answers wait for our pump, and its messaging thread answers at once.
    const SoString status = Messaging::Thread::ping("ttpeer", "STATUS", 5);
    EXPECT_TRUE(status == "IDLE" || status == "PUMPING") << status.c_str();
}

TEST_F(TwoProcess, UnansweredRequestGetsItsTimeout)
{
    registerPeer("ttpeer-1.0");
    const std::string out = m_root + "/peer.out";
    startPeer("ttpeer-1.0", out);
    Message block = request("ttpeer", "block 4000", "");
    ASSERT_TRUE(m_tt->send(block, false, 0, nullptr));
    // Sent while the peer still pumps, the request would be handled at once
    // and rightly never time out: wait until the peer has stopped pumping.
    ASSERT_TRUE(waitForLine(out, "handled block"));
    usleep(200000);
    Message watched = request("ttpeer", "late", "Timeout");
    watched.setTimeout(1);
    ASSERT_TRUE(m_tt->send(watched, false, 0, nullptr));
    EXPECT_TRUE(pumpUntil([&] { return hasAnswer(MsgHandler::kTimeout); }, 6));
    for (const Answer& a : m_answers) fprintf(stderr, "DBG kind %d serial %lu body %s\n", a.kind, a.serial, a.body.c_str());
    for (const Answer& a : m_answers) {
        if (a.kind == MsgHandler::kTimeout) {
            EXPECT_EQ(a.serial, watched.getSerialNumber());
        }
    }
    EXPECT_FALSE(hasAnswer(MsgHandler::kTimeout, "block 4000")) << "only the watched request times out";
}

TEST_F(TwoProcess, TargetThatCannotBeLaunchedIsAnsweredWithError59)
{
    registerPeer("ghost-1.0", "/nonexistent/ghost");
    Message message = request("ghost", "anyone?", "Error");
    EXPECT_FALSE(m_tt->send(message, true, 0, nullptr));
    EXPECT_TRUE(pumpUntil([&] { return hasAnswer(MsgHandler::kError, "ERROR: TARGET COULD NOT BE LAUNCHED"); }, 3));
    for (const Answer& a : m_answers) {
        if (a.kind == MsgHandler::kError) {
            EXPECT_EQ(a.errorCode, "59");
        }
    }
    Message suppressed = request("ghost", "anyone?", "Error");
    EXPECT_FALSE(m_tt->send(suppressed, false, 0, nullptr));
    EXPECT_TRUE(pumpUntil([&] { return hasAnswer(MsgHandler::kError, "ERROR: LAUNCHING IS SUPPRESSED"); }, 3));
}

TEST_F(TwoProcess, SendLaunchesRegisteredTargetWithItsParameters)
{
    registerPeer("ttlaunch-1.0");
    const std::string out = m_root + "/launched.out";
    setenv("TT_PEER_SPEC", "ttlaunch", 1);
    setenv("TT_PEER_OUT", out.c_str(), 1);
    ASSERT_FALSE(Messaging::targetIsRunning("ttlaunch"));

    Message message = request("ttlaunch", "hello", "Result");
    message.setSerialNumber(m_tt->nextSerialNumber());
    std::vector<Answer> result;
    delete m_tt->changeHandler(new Recorder(&result, "Result", message.getSerialNumber()));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(m_tt->send(message, true, 30, nullptr));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    ASSERT_EQ(result.size(), 1u);
    EXPECT_EQ(result[0].body, "echo:hello");
    EXPECT_TRUE(waitForLine(out, "handled hello"));
    EXPECT_EQ(countLines(out, "started "), 1);
    EXPECT_EQ(countLines(out, "params -specifier ttlaunch-1.0 -nostartupscreen"), 1);
    EXPECT_EQ(countLines(out, "no start-up screen"), 1);
    EXPECT_TRUE(pumpUntil([] { return Messaging::Thread::getPingValue("LAUNCHPARAMS:ttlaunch-1.0").isEmpty(); }))
        << "the confirmation clears the launch key";
    if (HasFailure()) {
        for (const std::string& line : readLines(out))
            ADD_FAILURE() << "peer: " << line;
    }
}

TEST_F(TwoProcess, PingsAnswerStatusBusyAndUndefined)
{
    registerPeer("ttpeer-1.0");
    startPeer("ttpeer-1.0", m_root + "/peer.out");
    usleep(500000); // a few pump intervals to average
    EXPECT_EQ(Messaging::Thread::ping("ttpeer", "STATUS", 5), "IDLE");
    EXPECT_EQ(Messaging::Thread::ping("ttpeer", "NO_SUCH_KEY", 5), "UNDEFINED");
    EXPECT_EQ(Messaging::Thread::ping("ttpeer", "FWDLOGS=ttsender-1.0", 5), "ttsender-1.0");
    EXPECT_EQ(Messaging::Thread::ping("ttpeer", "FWDLOGS", 5), "ttsender-1.0");
    EXPECT_EQ(Messaging::Thread::ping("ttpeer", "FWDLOGS=", 1), "") << "an empty value answers nothing";
    EXPECT_EQ(Messaging::Thread::ping("ttpeer", "FWDLOGS", 5), "UNDEFINED") << "and removes the key";

    // A ping is answered when it arrives, not on the thread's next beat:
    // twenty of them would otherwise wait some ten beats in all.
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 20; ++i)
        ASSERT_FALSE(Messaging::Thread::ping("ttpeer", "STATUS", 5).isEmpty());
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(5 * TesselTalkThread::kPumpMs));

    Message block = request("ttpeer", "block 4000", "");
    ASSERT_TRUE(m_tt->send(block, false, 0, nullptr));
    usleep(1500000);
    EXPECT_EQ(Messaging::Thread::ping("ttpeer", "STATUS", 5), "BUSY");
    EXPECT_TRUE(TesselTalkUtils::isBusy(TesselTalk::Specifier("ttpeer", true)));
    usleep(3500000);
    EXPECT_EQ(Messaging::Thread::ping("ttpeer", "STATUS", 5), "IDLE");
    EXPECT_EQ(Messaging::Thread::ping("nobody-here", "STATUS", 1), "");
}

TEST_F(TwoProcess, PingsShareOneReplyEndpointUntilOneGoesUnanswered)
{
    registerPeer("ttpeer-1.0");
    startPeer("ttpeer-1.0", m_root + "/peer.out");
    // Reply endpoints carry the ping's number as instance: "ttsender_N".
    ASSERT_FALSE(Messaging::Thread::ping("ttpeer", "STATUS", 5).isEmpty());
    const std::vector<std::string> kept = ourEndpointFiles("ttsender_");
    ASSERT_EQ(kept.size(), 2u) << "its socket and its lock";
    ASSERT_FALSE(Messaging::Thread::ping("ttpeer", "STATUS", 5).isEmpty());
    EXPECT_EQ(ourEndpointFiles("ttsender_"), kept);
    // A ping that goes unanswered gives its endpoint up, so that a late
    // answer can never be taken for the next ping's.
    EXPECT_EQ(Messaging::Thread::ping("ttpeer", "FWDLOGS=", 1), "");
    EXPECT_EQ(ourEndpointFiles("ttsender_"), std::vector<std::string>());
    ASSERT_FALSE(Messaging::Thread::ping("ttpeer", "STATUS", 5).isEmpty());
    EXPECT_EQ(ourEndpointFiles("ttsender_").size(), 2u);
}

TEST_F(TwoProcess, EightSimultaneousSendersCauseOneLaunch)
{
    registerPeer("ttmany-1.0");
    const std::string out = m_root + "/many.out";
    setenv("TT_PEER_SPEC", "ttmany", 1);
    setenv("TT_PEER_OUT", out.c_str(), 1);
    std::vector<pid_t> senders;
    for (int i = 0; i < 8; ++i) {
        const std::string spec = "ttsend" + std::to_string(i) + "-1.0";
        senders.push_back(spawn({TT_PEER_PATH, "send", spec, "ttmany", "from " + std::to_string(i)}));
    }
    for (pid_t sender : senders) {
        int status = -1;
        ASSERT_EQ(waitpid(sender, &status, 0), sender);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    m_children.clear();
    for (int i = 0; i < 100 && countLines(out, "handled from ") < 8; ++i)
        usleep(100000);
    EXPECT_EQ(countLines(out, "started "), 1);
    EXPECT_EQ(countLines(out, "handled from "), 8);
    if (HasFailure()) {
        for (const std::string& line : readLines(out))
            ADD_FAILURE() << "peer: " << line;
    }
}

TEST_F(TwoProcess, DeadPeersHangNobody)
{
    registerPeer("ttpeer-1.0");
    const std::string out = m_root + "/peer.out";
    const pid_t target = startPeer("ttpeer-1.0", out);

    // A sender dies while its message waits in the blocked target's queue.
    Message block = request("ttpeer", "block 2000", "");
    ASSERT_TRUE(m_tt->send(block, false, 0, nullptr));
    const pid_t sender = spawn({TT_PEER_PATH, "send", "ttorphan-1.0", "ttpeer", "orphan"});
    int status = -1;
    ASSERT_EQ(waitpid(sender, &status, 0), sender);
    EXPECT_TRUE(waitForLine(out, "handled orphan", 10));
    Message after = request("ttpeer", "still there", "Result");
    ASSERT_TRUE(m_tt->send(after, false, 0, nullptr));
    EXPECT_TRUE(pumpUntil([&] { return hasAnswer(MsgHandler::kResult, "echo:still there"); }));

    // The target dies mid-conversation: we are told at once, nothing waits.
    kill(target, SIGKILL);
    waitpid(target, nullptr, 0);
    m_children.clear();
    const auto start = std::chrono::steady_clock::now();
    Message orphaned = request("ttpeer", "anyone?", "Result");
    EXPECT_FALSE(m_tt->send(orphaned, false, 0, nullptr));
    EXPECT_EQ(Messaging::Thread::ping("ttpeer", "STATUS", 1), "");
    EXPECT_FALSE(Messaging::targetIsRunning("ttpeer"));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));

    startPeer("ttpeer-1.0", m_root + "/peer2.out");
    Message fresh = request("ttpeer", "new peer", "Result");
    ASSERT_TRUE(m_tt->send(fresh, false, 0, nullptr));
    EXPECT_TRUE(pumpUntil([&] { return hasAnswer(MsgHandler::kResult, "echo:new peer"); }));
}
