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
        connection = new BlobConnection(fds[0], Clock::now() + std::chrono::seconds(10));
    }
    ~Pair()
    {
        delete connection;
        ::close(peer);
    }
    void write(const std::string& bytes) { ASSERT_EQ(::write(peer, bytes.data(), bytes.size()), ssize_t(bytes.size())); }
    // What the receiver answered: the ack byte, or "" when it closed or said nothing.
    std::string answer()
    {
        ::fcntl(peer, F_SETFL, O_NONBLOCK);
        char c;
        return ::read(peer, &c, 1) == 1 ? std::string(1, c) : std::string();
    }
    int peer;
    BlobConnection* connection;
};

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
        EXPECT_EQ(pair.answer(), row.state == BlobConnection::State::Done ? std::string(1, char(kAck)) : "");
    }
}

TEST(BlobFraming, BlobArrivingByteByByteIsWholeAndAcknowledgedOnce)
{
    Pair pair;
    const std::string frame = header(1000) + streamPattern(1000);
    std::size_t taken = 0;
    for (char c : frame) {
        EXPECT_EQ(pair.answer(), "");
        pair.write(std::string(1, c));
        taken += pair.connection->service(Clock::now());
    }
    EXPECT_EQ(taken, frame.size());
    ASSERT_EQ(int(pair.connection->state()), int(BlobConnection::State::Done));
    EXPECT_EQ(pair.answer(), std::string(1, char(kAck)));
    std::size_t length = 0;
    char* blob = pair.connection->takeBlob(length);
    EXPECT_EQ(std::string(blob, length), streamPattern(1000));
    ScObjects::SoHeap::freeHeap(blob);
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

TEST(BlobFraming, WriteBlobNeedsTheAcknowledgement)
{
    for (const char answer : {char(kAck), 'x'}) {
        int fds[2];
        ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds), 0);
        ASSERT_EQ(::write(fds[1], &answer, 1), 1);
        const std::string data = streamPattern(200);
        EXPECT_EQ(writeBlob(fds[0], data.data(), data.size(), Clock::now() + std::chrono::seconds(1)),
            answer == char(kAck));
        std::string got(kHeaderSize + 200, '\0');
        ASSERT_EQ(::read(fds[1], got.data(), got.size()), ssize_t(got.size()));
        EXPECT_EQ(got, header(200) + data);
        ::close(fds[0]);
        ::close(fds[1]);
    }
    // A receiver that never answers costs the sender its deadline and no more.
    int fds[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds), 0);
    const auto start = Clock::now();
    EXPECT_FALSE(writeBlob(fds[0], "x", 1, start + std::chrono::milliseconds(100)));
    EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(1000));
    ::close(fds[0]);
    ::close(fds[1]);
}
