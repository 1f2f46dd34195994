// The hand-off to Tessel over real messaging: this process as the plug-in's
// side, the test peer as Tessel (running, launched, silent or missing).
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <vector>

#include "CAppSource.h"
#include "HelloHandler.h"
#include "PtTesselTalk.h"
#include "TesselPeer.h"
#include "TesselTalk.h"

using ScObjects::TesselTalk::Message;
using ScObjects::TesselTalk::MsgHandler;

namespace {

std::vector<unsigned int> gSlept;

// Records each wait and sleeps a tenth of a second instead of whole ones.
void recordSleep(unsigned int seconds)
{
    gSlept.push_back(seconds);
    usleep(100000);
}

class TesselHandOffTest : public testing::Test, public TesselPeer {
protected:
    void SetUp() override
    {
        setUp();
        gSlept.clear();
        PtTesselTalk::setSleepFunction(&recordSleep);
    }
    void TearDown() override
    {
        PtTesselTalk::setSleepFunction(nullptr);
        tearDown();
    }
};

using PtTesselTalkLink = TesselHandOffTest;

} // namespace

TEST(HelloHandler, OnlyAResultSetsTheFlag)
{
    HelloHandler handler;
    Message message;
    for (int kind = MsgHandler::kUser; kind <= MsgHandler::kIdle; ++kind) {
        HelloHandler::clearMessageReceived();
        ScObjects::SoString result;
        EXPECT_EQ(handler.handleMessage(kind, message, &result), 0);
        EXPECT_EQ(HelloHandler::messageReceived(), kind == MsgHandler::kResult) << "kind " << kind;
    }
    HelloHandler::clearMessageReceived();
}

TEST_F(PtTesselTalkLink, RunningTesselGetsTheScriptAndAnswers)
{
    PtTesselTalk link;
    ASSERT_TRUE(link.Initialize());
    registerTessel();
    startTessel();
    EXPECT_EQ(link.DoLaunchTessel(" app.beep() ;", false), 0);
    EXPECT_EQ(handled(), (std::vector<std::string>{" app.beep() ;'done';"}));
    EXPECT_LT(gSlept.size(), std::size_t(PtTesselTalk::kAnswerWaits));
    EXPECT_EQ(startedCount(), 1) << "nothing launched besides the running one";
    link.Terminate();
}

TEST_F(PtTesselTalkLink, InstalledTesselIsLaunchedOnceAndAnswers)
{
    PtTesselTalk link;
    ASSERT_TRUE(link.Initialize());
    registerTessel();
    EXPECT_EQ(link.DoLaunchTessel("{ app.beep(); }", true), 0);
    EXPECT_EQ(handled(), (std::vector<std::string>{"{ app.beep(); }'done';"}));
    EXPECT_EQ(startedCount(), 1);
    EXPECT_TRUE(ScObjects::TesselTalk::TesselTalk::targetIsRunning("tessel"));
}

TEST_F(PtTesselTalkLink, MissingTesselGetsNothing)
{
    PtTesselTalk link;
    ASSERT_TRUE(link.Initialize());
    EXPECT_EQ(link.DoLaunchTessel("{ app.beep(); }", true), -1);
    EXPECT_TRUE(gSlept.empty());
    TesselTalkHandOff handOff(link);
    EXPECT_FALSE(handOff.isTesselRunning());
    EXPECT_EQ(handOff.launchTessel("x", false), TesselHandOff::kNotInstalled);
}

TEST_F(PtTesselTalkLink, SilentTesselRunsOutTheThirtyWaits)
{
    PtTesselTalk link;
    ASSERT_TRUE(link.Initialize());
    registerTessel();
    startTessel(true);
    TesselTalkHandOff handOff(link);
    EXPECT_TRUE(handOff.isTesselRunning());
    EXPECT_EQ(handOff.launchTessel("{ app.beep(); }", true), TesselHandOff::kNoAnswer);
    EXPECT_EQ(handled(), (std::vector<std::string>{"{ app.beep(); }'done';"})) << "the script did go out";
    EXPECT_EQ(gSlept, std::vector<unsigned int>(30, 1));
    EXPECT_FALSE(HelloHandler::messageReceived()) << "what did come back was no result";
}

TEST_F(PtTesselTalkLink, OnlyABusyStatusIsBusy)
{
    PtTesselTalk link;
    ASSERT_TRUE(link.Initialize());
    EXPECT_FALSE(link.isTesselBusy()) << "no Tessel, no answer";
    registerTessel();
    startTessel();
    usleep(500000); // a few pump intervals for the peer to average
    const struct {
        const char* body; // what the peer is told to do first, if anything
        const char* status;
        bool busy;
    } rows[] = {
        {nullptr, "IDLE", false},
        {"hold 2500", "PUMPING", false}, // inside a handler
        {"block 3000", "BUSY", true},    // not pumping at all
    };
    for (const auto& row : rows) {
        if (row.body) {
            tellTessel(row.body);
            usleep(1500000);
        }
        EXPECT_EQ(ScObjects::TesselTalk::TesselTalk::Thread::ping("tessel", "STATUS", 2), row.status);
        EXPECT_EQ(link.isTesselBusy(), row.busy) << row.status;
        usleep(2000000);
    }
}

using InvokeHostApp = TesselHandOffTest;

TEST_F(InvokeHostApp, StartsTheDownloadCommandUnlessTesselIsBusyOrMissing)
{
    const std::string script = "{ app.runSkiff();app.document.bringToFront (); }'done';";
    CAppSource* source = new CAppSource(CAppInfo());
    source->AddRef();
    ISinkManager* manager = source;

    EXPECT_EQ(manager->InvokeHostApp(nullptr, 0, nullptr), kFxErrNoBuffer) << "Tessel is not installed";
    EXPECT_TRUE(gSlept.empty());

    registerTessel();
    EXPECT_EQ(manager->InvokeHostApp(nullptr, 0, nullptr), kFxOk) << "launched";
    EXPECT_EQ(handled(), (std::vector<std::string>{script}));

    tellTessel("block 4000");
    ASSERT_TRUE(waitHandled(2));
    usleep(1500000);
    EXPECT_EQ(manager->InvokeHostApp(nullptr, 0, nullptr), kFxOk) << "busy";
    usleep(3000000);
    EXPECT_EQ(handled().size(), 2u) << "nothing is sent to a busy Tessel";
    EXPECT_EQ(std::count(gSlept.begin(), gSlept.end(), 1000u), 0) << "nothing stayed pending";
    source->Release();
}
