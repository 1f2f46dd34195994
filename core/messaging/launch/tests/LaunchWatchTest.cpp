#include <gtest/gtest.h>

#include "LaunchFixture.h"
#include "LaunchParams.h"
#include "LaunchWatchHandlers.h"

using namespace ScObjects;
using namespace ScObjects::TesselTalkUtils;

using LaunchWatchTest = LaunchFixture;

TEST_F(LaunchWatchTest, TimeoutReleasesTheOfferAndAnswersLaunched)
{
    const SoString offer("viewer-2.0#haslaunchparams");
    LaunchTimeoutMsgHandler watch(SoString("LAUNCHPARAMS:tester"), 7, SoString("viewer-2.0"));
    EXPECT_EQ(watch.getMsgType(), "Timeout");
    EXPECT_EQ(watch.getSerialNumber(), 7u);
    EXPECT_TRUE(watch.holdsEndpoint());
    EXPECT_FALSE(endpoints->canCreateLocally(offer)) << "the launched side must see an offer";

    TesselTalk::Message timeout;
    SoString result;
    EXPECT_EQ(watch.handleMessage(5, timeout, &result), 0);
    EXPECT_EQ(result, "LAUNCHED");
    EXPECT_TRUE(endpoints->canCreateLocally(offer));
    ASSERT_EQ(host.removedWatches.size(), 1u);
    EXPECT_EQ(host.removedWatches[0], std::make_pair(std::string("Received"), 7ul));

    // Without parameters on offer the launched side starts at once.
    SoString params("stale");
    EXPECT_TRUE(getLaunchParameters("viewer-2.0", params));
    EXPECT_TRUE(params.isEmpty());
    EXPECT_FALSE(getLaunchParameters("", params));
}

TEST_F(LaunchWatchTest, ReceivedCancelsItsOwnAndItsCompanionsWatches)
{
    LaunchReceivedMsgHandler watch(12);
    watch.addCompanions({10, 11});
    EXPECT_EQ(watch.getMsgType(), "Received");
    TesselTalk::Message ack;
    EXPECT_EQ(watch.handleMessage(2, ack, nullptr), 0);
    const std::vector<std::pair<std::string, unsigned long>> expected = {
        {"Timeout", 12}, {"Timeout", 10}, {"Timeout", 11}};
    EXPECT_EQ(host.removedWatches, expected);
    EXPECT_EQ(host.removedMessages, (std::vector<unsigned long>{10, 11}));
}

TEST_F(LaunchWatchTest, ReceiveTakesTheFirstMessagesBody)
{
    TesselTalk::Message first;
    first.setSender("tester");
    first.setTarget("viewer-2.0");
    first.setType("LaunchParams");
    first.setBody("-instance 3");
    SoString text;
    first.writeToString(text);
    ASSERT_TRUE(endpoints->leave("viewer-2.0", text.c_str()));
    first.setBody("second");
    text = SoString();
    first.writeToString(text);
    ASSERT_TRUE(endpoints->leave("viewer-2.0", text.c_str()));

    SoString params;
    EXPECT_TRUE(receiveLaunchParams(SoString("viewer-2.0"), params, 0));
    EXPECT_EQ(params, "-instance 3");

    // Somebody else holds the port: nothing to wait for.
    auto held = endpoints->open(SoString("busy"));
    ASSERT_NE(held, nullptr);
    params = "kept";
    EXPECT_TRUE(receiveLaunchParams(SoString("busy"), params, 200));
    EXPECT_EQ(params, "kept");

    EXPECT_FALSE(receiveLaunchParams(SoString("silent"), params, 0));
}
