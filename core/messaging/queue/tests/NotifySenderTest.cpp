#include <gtest/gtest.h>

#include "FakeQueueServices.h"
#include "MessageQueue.h"
#include "TesselTalkUtils.h"

using namespace ScObjects;
using ScObjects::TesselTalk::kNoSerial;
using ScObjects::TesselTalk::Message;
using ScObjects::TesselTalkData::MessageQueue;
using ScObjects::TesselTalkData::notifySender;

using NotifySender = WithQueueServices;

namespace {

Message* expired(const char* type, const char* responseRequest, const char* version = "2.05")
{
    Message* m = new Message;
    m->setTarget("tessel-4.0");
    m->setSender("skiff-4.0");
    m->setType(type);
    m->setResponseRequest(responseRequest);
    m->setVersion(version);
    m->setSerialNumber(42);
    m->setTimeout(10);
    m->setTimestamp(TesselTalkUtils::getTimeSeconds() - 11);
    return m;
}

} // namespace

TEST_F(NotifySender, NoticeByVersionAndType)
{
    struct Row { const char* type; const char* version; const char* noticeType; unsigned long serial; };
    const Row rows[] = {
        {"Calligo", "2.05", "Timeout", 42},
        {"Ping", "2.05", "TimeoutPing", 42},
        {"Ping", "2.0", "TimeoutPing", 42},
        {"Ping", "1.0", "Ping", 500},          // old peers get their own type and a fresh serial
        {"Calligo", "", "Calligo", 501},
    };
    for (const Row& row : rows) {
        Message* m = expired(row.type, "Result Timeout", row.version);
        notifySender(*m, "Timeout", SoString());
        delete m;
        ASSERT_FALSE(services.notices.empty());
        const Message& notice = services.notices.back();
        EXPECT_EQ(notice.getTarget(), "skiff-4.0");
        EXPECT_EQ(notice.getSender(), "tessel-4.0");
        EXPECT_EQ(notice.getVersion(), row.version);
        EXPECT_EQ(notice.getType(), row.noticeType) << row.type << " " << row.version;
        EXPECT_EQ(notice.getSerialNumber(), row.serial) << row.type << " " << row.version;
    }
    EXPECT_EQ(services.logs.size(), 5u);
    EXPECT_EQ(services.logs.front(), "REMOVING MSG - NOTIFYING SENDER");
}

TEST_F(NotifySender, OnlyWhenAskedAndNotWatchedBySender)
{
    Message* silent = expired("Calligo", "Result");
    Message* watched = expired("Calligo", "Timeout");
    watched->setHeader("TIMEOUT_DETECTOR", "SENDER");
    Message* target = expired("Calligo", "Timeout");
    target->setHeader("TIMEOUT_DETECTOR", "TARGET");
    MessageQueue q;
    q.setDiagnosticsRoot(SoString("app/out"));
    q.append(silent);
    q.append(watched);
    q.append(target);
    services.forwards.clear();
    q.removeExpiredMessages();
    EXPECT_TRUE(q.isEmpty());
    ASSERT_EQ(services.notices.size(), 1u) << "only the request that asked for it and is not sender-watched";
    EXPECT_EQ(services.forwards, (std::vector<std::string>{"timed out:Calligo:42@app/out"}));
}

TEST_F(NotifySender, GetNextMessageNotifiesExpiredOnes)
{
    MessageQueue q;
    q.append(expired("Ping", "Timeout"));
    EXPECT_EQ(q.getNextMessage(kNoSerial), nullptr);
    ASSERT_EQ(services.notices.size(), 1u);
    EXPECT_EQ(services.notices[0].getType(), "TimeoutPing");
}

TEST(NotifySenderWithoutServices, NoticeIsDropped)
{
    MessageQueue q;
    q.append(expired("Ping", "Timeout"));
    q.removeExpiredMessages();
    EXPECT_TRUE(q.isEmpty());
}
