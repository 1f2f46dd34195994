// The messaging thread's key table, its pump-interval average and busy
// test, and the ping entry point, on a thread object of our own.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "SystemHandlers.h"
#include "TesselTalkThread.h"

using namespace ScObjects;
using TesselTalk::Message;

namespace {

int gDeleted = 0;

class Counted : public TesselTalk::MsgHandler {
public:
    ~Counted() override { ++gDeleted; }
    long handleMessage(int, Message&, SoString* response) override
    {
        if (response)
            *response = "COUNTED";
        return 0;
    }
};

class ThreadFixture : public testing::Test {
protected:
    void SetUp() override
    {
        // The endpoint of a started thread goes to a folder of our own.
        char pattern[] = "/tmp/ttthread.XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        m_run = pattern;
        setenv("XDG_RUNTIME_DIR", m_run.c_str(), 1);
    }
    void TearDown() override
    {
        m_thread.waitForRunExit();
        std::filesystem::remove_all(m_run);
    }
    std::string m_run;
    TesselTalkThread m_thread{nullptr, SoString("app-2.0-en_us")};
};

std::string answerTo(TesselTalkThread& thread, const char* request)
{
    ThreadMainMsgHandler main(nullptr, &thread);
    Message ping;
    ping.setType("ping");
    ping.setHeader("ECHO_REQUEST", request);
    SoString response;
    EXPECT_EQ(main.handleMessage(TesselTalk::MsgHandler::kRequest, ping, &response), 0);
    return response.c_str();
}

} // namespace

using TesselTalkThreadKeys = ThreadFixture;

TEST_F(TesselTalkThreadKeys, EndpointNameCarriesEveryPartOfTheSpecifier)
{
    EXPECT_EQ(TesselTalkThread::createThreadSpecifier(SoString("tessel_2-2.0-en_us#main")), "tessel_2-2.0-en_us#thread");
    EXPECT_EQ(TesselTalkThread::createThreadSpecifier(SoString("tessel-en_us")), "tessel-en_us#thread");
    EXPECT_EQ(m_thread.getSpecifier(), "app-2.0-en_us#thread");
}

TEST_F(TesselTalkThreadKeys, PumpIntervalsAverageAndOutliersAreIgnored)
{
    const SoString status("STATUS");
    EXPECT_EQ(m_thread.getValueForKey(status), "IDLE");
    m_thread.setKeyValuePair(status, SoString("PUMPING"));
    usleep(3000);
    m_thread.setKeyValuePair(status, SoString("PUMPING"));
    EXPECT_EQ(m_thread.averagePumpInterval(), 0.0) << "intervals of 10 ms or less say nothing";
    usleep(40000);
    m_thread.setKeyValuePair(status, SoString("PUMPING"));
    const double first = m_thread.averagePumpInterval();
    EXPECT_GT(first, 35.0);
    EXPECT_LT(first, 200.0);
    usleep(80000);
    m_thread.setKeyValuePair(status, SoString("PUMPING"));
    const double second = m_thread.averagePumpInterval();
    EXPECT_NEAR(second, (first + 80.0) / 2, 30.0) << "the new interval is averaged in";
    usleep(useconds_t(second * 10 * 1000 + 100000));
    m_thread.setKeyValuePair(status, SoString("PUMPING"));
    EXPECT_EQ(m_thread.averagePumpInterval(), second) << "ten times the average is an outlier";

    m_thread.setKeyValuePair(status, SoString("IDLE"));
    EXPECT_EQ(m_thread.getValueForKey(status), "IDLE");
    EXPECT_TRUE(m_thread.isIdle());
    usleep(useconds_t(second * 10 * 1000 + 100000));
    EXPECT_EQ(m_thread.getValueForKey(status), "BUSY");
    EXPECT_FALSE(m_thread.isIdle());
    m_thread.setKeyValuePair(status, SoString("IDLE"));
    EXPECT_EQ(m_thread.getValueForKey(status), "IDLE");
}

TEST_F(TesselTalkThreadKeys, KeysExpireOnlyWithAnExpiry)
{
    const SoString key("KEY");
    EXPECT_FALSE(m_thread.setTimeout(key, 5)) << "absent key";
    ASSERT_TRUE(m_thread.setKeyValuePair(key, SoString("v")));
    ASSERT_TRUE(m_thread.setKeyValuePair(SoString("OTHER"), SoString("w")));
    ASSERT_TRUE(m_thread.setTimeout(key, 0));
    m_thread.removeExpiredPingData();
    EXPECT_EQ(m_thread.getValueForKey(key), "v") << "expiry 0 means never";
    ASSERT_TRUE(m_thread.setTimeout(key, 60));
    m_thread.removeExpiredPingData();
    EXPECT_EQ(m_thread.getValueForKey(key), "v");
    ASSERT_TRUE(m_thread.setTimeout(key, -1));
    m_thread.removeExpiredPingData();
    EXPECT_EQ(m_thread.locateKey(key), -1);
    EXPECT_EQ(m_thread.getValueForKey(SoString("OTHER")), "w");

    EXPECT_TRUE(m_thread.setKeyValuePair(SoString("OTHER"), SoString("")));
    EXPECT_EQ(m_thread.locateKey(SoString("OTHER")), -1) << "an empty value removes the key";
    EXPECT_FALSE(m_thread.setKeyValuePair(SoString(""), SoString("x")));
}

TEST_F(TesselTalkThreadKeys, HandlersAreOwnedByTheirKeys)
{
    gDeleted = 0;
    ASSERT_TRUE(m_thread.setHandler(SoString("CUSTOM"), new Counted));
    EXPECT_EQ(m_thread.getValueForKey(SoString("CUSTOM")), "CUSTOM");
    ASSERT_TRUE(m_thread.setHandler(SoString("CUSTOM"), new Counted));
    EXPECT_EQ(gDeleted, 1) << "the replaced handler is deleted";
    EXPECT_FALSE(m_thread.setHandler(SoString(""), new Counted));
    EXPECT_EQ(gDeleted, 2) << "a refused handler is deleted too";
    EXPECT_EQ(answerTo(m_thread, "CUSTOM"), "COUNTED");
    m_thread.setKeyValuePair(SoString("CUSTOM"), SoString(""));
    EXPECT_EQ(gDeleted, 3) << "removing the key deletes its handler";
}

TEST_F(TesselTalkThreadKeys, PingRequestsAreAnsweredFromTheTable)
{
    struct Row {
        const char* request;
        const char* answer;
    };
    for (const Row& row : {Row{"STATUS", "IDLE"}, Row{"NO_SUCH_KEY", "UNDEFINED"}, Row{"MAIN", "MAIN"},
             Row{"ECHO_REQUEST", "ECHO_RESPONSE"}, Row{"FWDERRORS=watcher", "watcher"}, Row{"FWDERRORS", "watcher"},
             Row{"FWDERRORS=", ""}, Row{"FWDERRORS", "UNDEFINED"}, Row{"OTHER=x", ""}, Row{"OTHER", "UNDEFINED"}})
        EXPECT_EQ(answerTo(m_thread, row.request), row.answer) << row.request;
}

TEST_F(TesselTalkThreadKeys, StoppedThreadRefusesChanges)
{
    m_thread.start();
    usleep(50000);
    m_thread.stop();
    EXPECT_TRUE(m_thread.waitForRunExit());
    EXPECT_FALSE(m_thread.setKeyValuePair(SoString("STATUS"), SoString("PUMPING")));
    EXPECT_EQ(m_thread.getValueForKey(SoString("STATUS")), "IDLE");
}
