#include <sys/stat.h>

#include <cstring>
#include <memory>
#include <set>
#include <thread>

#include "EndpointPath.h"
#include "StreamPattern.h"
#include "StreamTestSupport.h"

using ScObjects::SoString;
using ScObjects::TesselTalkUtils::createNextAvailableInterAppStream;

namespace {

// Sends from a second thread, since a send waits for the receiver to poll.
bool sendWhilePolling(const InterAppStream& from, const char* to, const std::string& data, InterAppStream& receiver,
    std::string& received)
{
    bool sent = false;
    std::thread sender([&] { sent = from.send(to, SoString(data.data(), long(data.size()))); });
    received += drain(receiver, data.size(), std::chrono::seconds(5));
    sender.join();
    return sent;
}

} // namespace

TEST_F(StreamTest, ZeroBytesBecomeLineFeedsAndPendingTextGrowsUntilTaken)
{
    InterAppStream receiver("receiver", false);
    InterAppStream sender("sender", false);
    ASSERT_TRUE(receiver.isGood() && sender.isGood());
    EXPECT_TRUE(receiver.isEmpty());

    std::string got;
    ASSERT_TRUE(sendWhilePolling(sender, "receiver", std::string("A\0B\0", 4), receiver, got));
    EXPECT_EQ(got, "A\nB\n");

    for (const char* part : {"one\0", "two"}) {
        bool sent = false;
        std::thread t([&] { sent = sender.send("receiver", SoString(part, long(std::strlen(part) + 1))); });
        while (!receiver.messagePending())
            ::usleep(1000);
        t.join();
        ASSERT_TRUE(sent);
        EXPECT_TRUE(receiver.receive());
        EXPECT_FALSE(receiver.receive());
    }
    EXPECT_FALSE(receiver.isEmpty());
    EXPECT_EQ(std::string(receiver.getMessages().c_str()), "one\ntwo\n");
    EXPECT_TRUE(receiver.isEmpty());
    EXPECT_EQ(receiver.getMessages().length(), 0);
}

TEST_F(StreamTest, ReceiveBufferIsAlwaysTheSizeOfTheLargestBlob)
{
    InterAppStream receiver("receiver", false);
    InterAppStream sender("sender", false);
    EXPECT_EQ(receiver.receiveBufferCapacity(), 4096);
    const struct {
        std::size_t blob;
        long capacity;
    } rows[] = {{100, 4096}, {4096, 4096}, {4097, 4097}, {70000, 70000}, {5000, 70000}};
    for (const auto& row : rows) {
        std::string got;
        ASSERT_TRUE(sendWhilePolling(sender, "receiver", streamPattern(row.blob), receiver, got));
        EXPECT_EQ(got, streamPattern(row.blob));
        EXPECT_EQ(receiver.receiveBufferCapacity(), row.capacity) << row.blob;
    }
}

TEST_F(StreamTest, StreamThatIsNotGoodNeitherSendsNorReceives)
{
    InterAppStream owner("taken", false);
    InterAppStream second("taken", false);
    ASSERT_TRUE(owner.isGood());
    EXPECT_FALSE(second.isGood());
    EXPECT_FALSE(second.messagePending());
    EXPECT_FALSE(second.receive());
    EXPECT_FALSE(second.send("taken", "x"));
    EXPECT_FALSE(owner.canOpen("taken", false));
    EXPECT_TRUE(owner.canOpen("free", false));
    // The probe let the name go again.
    EXPECT_TRUE(InterAppStream("free", false).isGood());
}

TEST_F(StreamTest, FactoryHandsOutInstancesAndRefusesWhatItCannotNumber)
{
    std::vector<std::unique_ptr<InterAppStream>> held;
    for (const char* expected : {"tessel-4.0-en_us", "tessel_1-4.0-en_us", "tessel_2-4.0-en_us"}) {
        held.emplace_back(createNextAvailableInterAppStream("tessel-4.0-en_us"));
        ASSERT_TRUE(held.back());
        EXPECT_STREQ(held.back()->name().c_str(), expected);
    }
    EXPECT_EQ(createNextAvailableInterAppStream("tessel_2-4.0-en_us"), nullptr);
    EXPECT_EQ(createNextAvailableInterAppStream(""), nullptr);
    for (int i = 3; i <= 8; ++i) {
        held.emplace_back(createNextAvailableInterAppStream("tessel-4.0-en_us"));
        ASSERT_TRUE(held.back()) << i;
    }
    EXPECT_STREQ(held.back()->name().c_str(), "tessel_8-4.0-en_us");
    EXPECT_EQ(createNextAvailableInterAppStream("tessel-4.0-en_us"), nullptr);
    held.erase(held.begin() + 3); // instance 3
    std::unique_ptr<InterAppStream> again(createNextAvailableInterAppStream("tessel-4.0-en_us"));
    ASSERT_TRUE(again);
    EXPECT_STREQ(again->name().c_str(), "tessel_3-4.0-en_us");
}

TEST_F(StreamTest, InitTermNamesTheProcessStreamAfterThePingSuffix)
{
    InterAppStream::InitTerm::init("Skiff-4.0");
    EXPECT_FALSE(lockFileExists("skiff-4.0#ping")) << "the endpoint waits for its first use";
    ASSERT_NE(InterAppStream::get(), nullptr);
    EXPECT_STREQ(InterAppStream::get()->name().c_str(), "skiff-4.0#ping");
    EXPECT_TRUE(lockFileExists("skiff-4.0#ping"));
    // A second init replaces the stream; the old one let its name go.
    InterAppStream::InitTerm::init("skiff-4.0");
    EXPECT_STREQ(InterAppStream::get()->name().c_str(), "skiff-4.0#ping");
    {
        InterAppStream::InitTerm::exit();
        InterAppStream holder("skiff-4.0#ping", false);
        InterAppStream::InitTerm::init("skiff-4.0");
        ASSERT_NE(InterAppStream::get(), nullptr);
        EXPECT_STREQ(InterAppStream::get()->name().c_str(), "skiff_1-4.0#ping");
    }
    InterAppStream::InitTerm::exit();
    // Without init, get makes the default stream.
    ASSERT_NE(InterAppStream::get(), nullptr);
    EXPECT_STREQ(InterAppStream::get()->name().c_str(), "interappstream-1.0");
    InterAppStream::InitTerm::exit();
}

TEST_F(StreamTest, HostileAndLongNamesStayInsideTheEndpointDirectory)
{
    const std::string longName(200, 'x');
    const std::string names[]
        = {"../../etc/passwd", "a/b", ".", "..", "%2F", "a#b c\n", "", "x\xff\x01", longName, longName + "y"};
    std::set<std::string> bases;
    const std::string dir = StreamTransport::endpointDirectory();
    ASSERT_EQ(dir, endpointDir());
    for (const std::string& name : names) {
        const std::string base = StreamTransport::endpointBaseName(dir, "\\\\.\\port\\Quay_and_Mole_" + name);
        ASSERT_FALSE(base.empty()) << name;
        EXPECT_EQ(base.find('/'), std::string::npos) << name;
        EXPECT_NE(base[0], '.') << name;
        EXPECT_TRUE(bases.insert(base).second) << "two names share " << base;
    }
    // Two long names that differ only at their end are two endpoints.
    InterAppStream a(longName.c_str(), false);
    InterAppStream b((longName + "y").c_str(), false);
    ASSERT_TRUE(a.isGood() && b.isGood());
    std::string got;
    EXPECT_TRUE(sendWhilePolling(a, (longName + "y").c_str(), "to b", b, got));
    EXPECT_EQ(got, "to b");
    EXPECT_TRUE(a.isEmpty());
    // Nothing but endpoint files was made, all in the endpoint directory.
    for (const auto& entry : std::filesystem::directory_iterator(endpointDir())) {
        const std::string file = entry.path().filename();
        EXPECT_TRUE(file.size() > 5 && (file.substr(file.size() - 5) == ".lock" || file.substr(file.size() - 5) == ".sock"))
            << file;
    }
}
