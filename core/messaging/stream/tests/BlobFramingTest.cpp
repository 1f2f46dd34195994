#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>

#include "BlobFraming.h"
#include "SoHeap.h"
#include "StreamPattern.h"

using namespace StreamTransport;

namespace {

std::string header(std::uint64_t length)
{
    unsigned char bytes[kHeaderSize];
    encodeHeader(length, bytes);
    return std::string(reinterpret_cast<char*>(bytes), kHeaderSize);
}

// A connection whose peer end the test writes to.
struct Pair {
    Pair()
    {
        int fds[2];
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds), 0);
        ::fcntl(fds[0], F_SETFL, O_NONBLOCK);
        peer = fds[1];
        connection = new BlobConnection(fds[0], Clock::now(), std::chrono::seconds(10), std::chrono::seconds(30));
    }
    ~Pair()
    {
        delete connection;
        ::close(peer);
    }
    void write(const std::string& bytes) { ASSERT_EQ(::write(peer, bytes.data(), bytes.size()), ssize_t(bytes.size())); }
    // What the receiver answered, or "" when it closed or said nothing.
    std::string answer()
    {
        ::fcntl(peer, F_SETFL, O_NONBLOCK);
        char bytes[4];
        const ssize_t n = ::read(peer, bytes, sizeof bytes);
        return n > 0 ? std::string(bytes, std::size_t(n)) : std::string();
    }
    int peer;
    BlobConnection* connection;
};

const std::string kAcked(1, char(kAck));
const std::string kKept(1, char(kKeep));

} // namespace

TEST(BlobFraming, FramesAreTakenOrRefusedByTheirFirstBytes)
{
    const std::string body = streamPattern(300);
    struct Row {
        const char* what;
        std::string bytes;
        bool closeAfter;
        BlobConnection::State state;
    } rows[] = {
        {"whole blob", header(300) + body, false, BlobConnection::State::Done},
        {"empty blob", header(0), false, BlobConnection::State::Done},
        {"wrong magic", "TTB2" + header(300).substr(4) + body, false, BlobConnection::State::Refused},
        {"garbage", std::string("\x00\xff GET / HTTP/1.1\r\n", 20), false, BlobConnection::State::Refused},
        {"4 GiB claimed", header(std::uint64_t(4) << 30), false, BlobConnection::State::Refused},
        {"one past the cap", header(kMaxBlobLength + 1), false, BlobConnection::State::Refused},
        {"the cap itself", header(kMaxBlobLength), false, BlobConnection::State::Body},
        {"header cut short", header(300).substr(0, 7), true, BlobConnection::State::Refused},
        {"body cut short", header(300) + body.substr(0, 299), true, BlobConnection::State::Refused},
        {"header still coming", header(300).substr(0, 11), false, BlobConnection::State::Header},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        Pair pair;
        pair.write(row.bytes);
        if (row.closeAfter)
            ::shutdown(pair.peer, SHUT_WR);
        pair.connection->service(Clock::now());
        EXPECT_EQ(int(pair.connection->state()), int(row.state));
        EXPECT_EQ(pair.answer(), row.state == BlobConnection::State::Done ? kAcked : "");
    }
}

TEST(BlobFraming, BlobsArrivingByteByByteAreWholeAndEachAcknowledgedOnce)
{
    Pair pair;
    // Two blobs on one connection: it waits for the next after each.
    for (const std::size_t size : {std::size_t(1000), std::size_t(37)}) {
        SCOPED_TRACE(size);
        const std::string frame = header(size) + streamPattern(size);
        std::size_t taken = 0;
        for (char c : frame) {
            EXPECT_EQ(pair.answer(), "");
            pair.write(std::string(1, c));
            taken += pair.connection->service(Clock::now());
        }
        EXPECT_EQ(taken, frame.size());
        ASSERT_EQ(int(pair.connection->state()), int(BlobConnection::State::Done));
        EXPECT_EQ(pair.answer(), kAcked);
        EXPECT_FALSE(pair.connection->isIdle());
        std::size_t length = 0;
        char* blob = pair.connection->takeBlob(length, Clock::now());
        EXPECT_EQ(std::string(blob, length), streamPattern(size));
        ScObjects::SoHeap::freeHeap(blob);
        EXPECT_EQ(int(pair.connection->state()), int(BlobConnection::State::Header));
        EXPECT_TRUE(pair.connection->isIdle());
    }
    // Between blobs, and only there, a request to keep the connection is
    // answered and changes nothing else.
    pair.write(kKept);
    pair.connection->service(Clock::now());
    EXPECT_EQ(pair.answer(), kKept);
    EXPECT_TRUE(pair.connection->isIdle());
    // The sender going away between blobs ends the connection.
    ::shutdown(pair.peer, SHUT_WR);
    pair.connection->service(Clock::now());
    EXPECT_EQ(int(pair.connection->state()), int(BlobConnection::State::Refused));
}

TEST(BlobFraming, KeepRequestOutOfPlaceIsRefused)
{
    {
        // Before any blob it is only the start of a header with a wrong magic.
        Pair fresh;
        fresh.write(kKept);
        fresh.connection->service(Clock::now());
        EXPECT_EQ(fresh.answer(), "");
        fresh.write(header(1).substr(1));
        fresh.connection->service(Clock::now());
        EXPECT_EQ(int(fresh.connection->state()), int(BlobConnection::State::Refused));
    }
    Pair pair;
    pair.write(header(1) + "x");
    pair.connection->service(Clock::now());
    std::size_t length = 0;
    ScObjects::SoHeap::freeHeap(pair.connection->takeBlob(length, Clock::now()));
    EXPECT_EQ(pair.answer(), kAcked);
    pair.write(kKept + header(1) + "y");
    pair.connection->service(Clock::now());
    EXPECT_EQ(int(pair.connection->state()), int(BlobConnection::State::Refused)) << "a blob before the answer";
    EXPECT_EQ(pair.answer(), "");
}

TEST(BlobFraming, PeerPastItsDeadlineIsRefusedEvenWhileStillSending)
{
    Pair pair;
    pair.write(header(100) + streamPattern(50));
    const Clock::time_point past = Clock::now() + std::chrono::seconds(11);
    pair.write(streamPattern(10));
    EXPECT_EQ(pair.connection->service(past), 0u);
    EXPECT_EQ(int(pair.connection->state()), int(BlobConnection::State::Refused));
}

TEST(BlobFraming, BetweenBlobsTheIdleTimeCountsAndEachBlobGetsItsOwnDeadline)
{
    const Clock::time_point start = Clock::now();
    const auto take = [](Pair& pair, Clock::time_point now) {
        pair.write(header(3) + "abc");
        pair.connection->service(now);
        ASSERT_EQ(int(pair.connection->state()), int(BlobConnection::State::Done));
        std::size_t length = 0;
        ScObjects::SoHeap::freeHeap(pair.connection->takeBlob(length, now));
    };
    {
        // Idle for less than its 30 seconds, a connection takes a next blob
        // that comes long after the first one's 10 seconds.
        Pair pair;
        take(pair, start);
        pair.connection->service(start + std::chrono::seconds(29));
        EXPECT_EQ(int(pair.connection->state()), int(BlobConnection::State::Header));
        take(pair, start + std::chrono::seconds(29));
        // That blob's 10 seconds count from its first byte.
        pair.write(header(3) + "a");
        pair.connection->service(start + std::chrono::seconds(30));
        pair.connection->service(start + std::chrono::seconds(39));
        EXPECT_EQ(int(pair.connection->state()), int(BlobConnection::State::Body));
        pair.connection->service(start + std::chrono::seconds(40));
        EXPECT_EQ(int(pair.connection->state()), int(BlobConnection::State::Refused));
    }
    {
        Pair pair;
        take(pair, start);
        pair.connection->service(start + std::chrono::seconds(30));
        EXPECT_EQ(int(pair.connection->state()), int(BlobConnection::State::Refused));
    }
}

TEST(BlobFraming, WriteBlobTellsTakenFromUnreadFromFailed)
{
    struct Row {
        const char* what;
        std::string answer;
        bool closeAfterReading;
        Delivery expected;
    } rows[] = {
        {"acknowledged", kAcked, false, Delivery::Taken},
        {"wrong answer", "x", false, Delivery::Failed},
        {"closed without answering", "", true, Delivery::Unread},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        int fds[2];
        ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds), 0);
        if (!row.answer.empty()) {
            ASSERT_EQ(::write(fds[1], row.answer.data(), row.answer.size()), ssize_t(row.answer.size()));
        }
        if (row.closeAfterReading)
            ::shutdown(fds[1], SHUT_WR);
        const std::string data = streamPattern(200);
        EXPECT_EQ(int(writeBlob(fds[0], data.data(), data.size(), Clock::now() + std::chrono::seconds(1))),
            int(row.expected));
        std::string got(kHeaderSize + 200, '\0');
        ASSERT_EQ(::read(fds[1], got.data(), got.size()), ssize_t(got.size()));
        EXPECT_EQ(got, header(200) + data);
        ::close(fds[0]);
        ::close(fds[1]);
    }
    // Asking to keep a connection never waits; the answer is looked for later.
    {
        int fds[2];
        ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds), 0);
        EXPECT_TRUE(askToKeep(fds[0]));
        EXPECT_FALSE(keepConfirmed(fds[0]));
        char request = 0;
        ASSERT_EQ(::read(fds[1], &request, 1), 1);
        EXPECT_EQ(request, char(kKeep));
        ASSERT_EQ(::write(fds[1], "x", 1), 1);
        EXPECT_FALSE(keepConfirmed(fds[0])) << "only kKeep confirms";
        ASSERT_EQ(::write(fds[1], kKept.data(), 1), 1);
        EXPECT_TRUE(keepConfirmed(fds[0]));
        ::close(fds[1]);
        EXPECT_FALSE(askToKeep(fds[0])) << "nobody there to ask";
        ::close(fds[0]);
    }
    // A receiver that is gone before the blob leaves it unread.
    {
        int fds[2];
        ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds), 0);
        ::close(fds[1]);
        EXPECT_EQ(int(writeBlob(fds[0], "x", 1, Clock::now() + std::chrono::seconds(1))), int(Delivery::Unread));
        ::close(fds[0]);
    }
    // A receiver that never answers costs the sender its deadline and no more.
    int fds[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds), 0);
    const auto start = Clock::now();
    EXPECT_EQ(int(writeBlob(fds[0], "x", 1, start + std::chrono::milliseconds(100))), int(Delivery::Failed));
    EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(1000));
    ::close(fds[0]);
    ::close(fds[1]);
}
