#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "FakeQueueServices.h"
#include "MessageQueue.h"
#include "TesselTalkUtils.h"

using namespace ScObjects;
using ScObjects::TesselTalk::kNoSerial;
using ScObjects::TesselTalk::Message;
using ScObjects::TesselTalkData::MessageQueue;

namespace {

const unsigned long kNow = TesselTalkUtils::getTimeSeconds();

Message* makeMessage(const char* type, unsigned long serial, unsigned long timeout = 100,
    unsigned long timestamp = kNow)
{
    Message* m = new Message;
    m->setTarget("target");
    m->setSender("sender");
    m->setType(type);
    m->setSerialNumber(serial);
    m->setTimeout(timeout);
    m->setTimestamp(timestamp);
    return m;
}

std::string serials(MessageQueue& q)
{
    // Drains through a filter-free walk that ignores nothing: collects by type and serial.
    std::string out;
    while (Message* m = q.getNextMessage(12345)) {
        out += std::string(m->getType().c_str()) + std::to_string(m->getSerialNumber()) + " ";
        delete m;
    }
    return out;
}

} // namespace

TEST(MessageQueue, AppendRefusesIncompleteMessagesAndFillsDefaults)
{
    MessageQueue q;
    EXPECT_EQ(q.append(nullptr), 0);
    Message noSender;
    noSender.setTarget("t");
    Message noTarget;
    noTarget.setSender("s");
    EXPECT_EQ(q.append(&noSender), 0);
    EXPECT_EQ(q.append(&noTarget), 0);
    EXPECT_TRUE(q.isEmpty());

    Message* m = makeMessage("Calligo", 1, 0, 0);
    EXPECT_EQ(q.append(m), 1);
    EXPECT_EQ(m->getTimeout(), 600u);
    EXPECT_NEAR(double(m->getTimestamp()), double(TesselTalkUtils::getTimeSeconds()), 2.0);
}

TEST(MessageQueue, ExpiryRule)
{
    struct Row { const char* type; unsigned long timeout; unsigned long timestamp; bool expired; };
    const Row rows[] = {
        {"Calligo", 30, 0, false},               // no timestamp: never expires
        {"Calligo", 30, kNow - 29, false},
        {"Calligo", 30, kNow - 30, true},        // the deadline itself is expired
        {"Calligo", 0, kNow - 10000, false},     // no timeout
        {"Ignore", 0, kNow, true},               // a watch entry without timeout
        {"Ignore", 5, kNow, false},
        {"Ignore", 5, kNow - 6, true},
    };
    for (const Row& row : rows) {
        Message* m = makeMessage(row.type, 1, row.timeout, row.timestamp);
        EXPECT_EQ(MessageQueue::isExpired(*m, kNow), row.expired) << row.type << " " << row.timeout;
        delete m;
    }
}

TEST(MessageQueue, GetNextMessageIsFifoAndDropsExpired)
{
    MessageQueue q;
    q.append(makeMessage("Calligo", 1));
    q.append(makeMessage("Calligo", 2, 10, kNow - 20));
    q.append(makeMessage("Ping", 3));
    EXPECT_EQ(serials(q), "Calligo1 Ping3 ");
    EXPECT_TRUE(q.isEmpty());
}

TEST(MessageQueue, IgnoreEntriesStayInOrder)
{
    MessageQueue q;
    Message* a = makeMessage("Ignore", 1);
    a->setReceivedSerial(7);
    Message* b = makeMessage("Ignore", 2);
    q.append(a);
    q.append(b);
    EXPECT_EQ(q.getNextMessage(kNoSerial), nullptr);
    ASSERT_EQ(q.count(), 2);
    EXPECT_EQ(q.getNextMessage(7), b) << "an Ignore entry that does not answer the filter is delivered";
    delete b;
    EXPECT_EQ(q.getNextMessage(7), nullptr);
    EXPECT_EQ(q.count(), 1);
}

TEST(MessageQueue, SetAsideEntriesGoToTheEnd)
{
    MessageQueue q;
    q.append(makeMessage("Ignore", 1));
    q.append(makeMessage("Calligo", 2));
    q.append(makeMessage("Calligo", 3));
    Message* m = q.getNextMessage(kNoSerial);
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->getSerialNumber(), 2u);
    delete m;
    EXPECT_EQ(q.findMessageForTarget(SoString("target"))->getSerialNumber(), 3u) << "3 now comes before the entry";
}

TEST(MessageQueue, RemoveMessageAndTimeoutWatches)
{
    MessageQueue q;
    EXPECT_FALSE(q.removeMessage(kNoSerial));
    auto watch = [](unsigned long serial) {
        Message* w = makeMessage("Ignore", serial, 61);
        w->setTarget("me");
        w->setSender("me");
        w->setResponseRequest("Timeout");
        return w;
    };
    q.append(watch(4));
    q.append(makeMessage("Ignore", 4));   // not a watch: target differs from sender
    q.append(watch(5));
    q.append(watch(4));
    EXPECT_EQ(q.removeTimeoutMessage(4), 0);
    EXPECT_EQ(q.count(), 2);
    EXPECT_EQ(q.removeTimeoutMessage(kNoSerial), 0);
    EXPECT_EQ(q.count(), 2);

    q.append(makeMessage("Calligo", 9));
    // The filter only picks which Ignore entries are stepped over: entries
    // that do not answer 9 are taken like any other message, first come first.
    EXPECT_TRUE(q.removeMessage(9));
    EXPECT_TRUE(q.removeMessage(9));
    ASSERT_EQ(q.count(), 1);
    ASSERT_NE(q.findMessageForTarget(SoString("target")), nullptr);
    EXPECT_EQ(q.findMessageForTarget(SoString("target"))->getSerialNumber(), 9u);
}

TEST(MessageQueue, FindMessageForTargetIsExact)
{
    MessageQueue q;
    Message* m = makeMessage("Calligo", 1);
    m->setTarget("tessel-4.0");
    q.append(m);
    EXPECT_EQ(q.findMessageForTarget(SoString("tessel")), nullptr);
    EXPECT_EQ(q.findMessageForTarget(SoString("tessel-4.0")), m);
    EXPECT_EQ(q.count(), 1);
}

using MessageQueueDiagnostics = WithQueueServices;

TEST_F(MessageQueueDiagnostics, EventsAreForwardedUnderTheRoot)
{
    MessageQueue q;
    q.append(makeMessage("Calligo", 1));
    EXPECT_TRUE(services.forwards.empty()) << "no root, no forwarding";
    q.setDiagnosticsRoot(SoString("app/in"));
    q.append(makeMessage("Debug", 2));
    q.append(makeMessage("Ignore", 3));
    q.append(makeMessage("Ping", 4));
    delete q.getNextMessage(kNoSerial);   // Calligo1
    delete q.getNextMessage(kNoSerial);   // Debug2
    delete q.getNextMessage(kNoSerial);   // Ping4, Ignore3 set aside twice
    EXPECT_EQ(services.forwards, (std::vector<std::string>{"added:Ignore:3@app/in", "added:Ping:4@app/in",
                                     "picked:Calligo:1@app/in", "picked:Ping:4@app/in"}));
}

TEST(MessageQueue, ConcurrentProducersAndConsumers)
{
    MessageQueue q;
    std::atomic<int> received{0};
    std::atomic<bool> done{false};
    std::vector<std::thread> threads;
    for (int p = 0; p < 2; ++p) {
        threads.emplace_back([&q, p] {
            for (unsigned long i = 0; i < 500; ++i)
                ASSERT_EQ(q.append(makeMessage("Calligo", unsigned(p) * 1000 + i)), 1);
        });
    }
    for (int c = 0; c < 2; ++c) {
        threads.emplace_back([&] {
            while (!done || !q.isEmpty()) {
                if (Message* m = q.getNextMessage(kNoSerial)) {
                    ++received;
                    delete m;
                }
                q.removeExpiredMessages();
            }
        });
    }
    threads[0].join();
    threads[1].join();
    done = true;
    for (std::size_t i = 2; i < threads.size(); ++i)
        threads[i].join();
    EXPECT_EQ(received, 1000);
}
