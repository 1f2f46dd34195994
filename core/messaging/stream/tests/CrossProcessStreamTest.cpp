#include <pwd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <atomic>
#include <cstring>
#include <thread>

#include "BlobFraming.h"
#include "EndpointPath.h"
#include "StreamPattern.h"
#include "StreamTestSupport.h"

using ScObjects::SoString;
using ScObjects::TesselTalkUtils::createNextAvailableInterAppStream;
using Clock = std::chrono::steady_clock;

namespace {

// Keeps a stream served from a second thread for as long as it lives, and
// records the longest single messagePending call.
class Poller {
public:
    explicit Poller(InterAppStream& stream)
        : m_stream(stream)
        , m_thread([this] { run(); })
    {
    }
    ~Poller() { stop(); }
    void stop()
    {
        m_stop = true;
        if (m_thread.joinable())
            m_thread.join();
    }
    std::chrono::milliseconds longestPoll() const { return std::chrono::milliseconds(m_longestMs.load()); }

private:
    void run()
    {
        while (!m_stop) {
            const auto start = Clock::now();
            const bool pending = m_stream.messagePending();
            const long ms = long(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count());
            if (ms > m_longestMs)
                m_longestMs = ms;
            if (pending) {
                while (m_stream.receive()) {
                }
            } else {
                ::usleep(1000);
            }
        }
    }

    InterAppStream& m_stream;
    std::atomic<bool> m_stop{false};
    std::atomic<long> m_longestMs{0};
    std::thread m_thread;
};

long elapsedMs(Clock::time_point since)
{
    return long(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - since).count());
}

} // namespace

TEST_F(StreamTest, NameHeldByLiveProcessIsNotGoodAndFactoryNumbersInstances)
{
    PeerProcess owner({"hold", "tessel-4.0"});
    ASSERT_EQ(owner.readLine(), "tessel-4.0");
    EXPECT_FALSE(InterAppStream("tessel-4.0", false).isGood());

    std::unique_ptr<InterAppStream> first(createNextAvailableInterAppStream("tessel-4.0"));
    ASSERT_TRUE(first);
    EXPECT_STREQ(first->name().c_str(), "tessel_1-4.0");
    PeerProcess second({"hold", "tessel-4.0"});
    EXPECT_EQ(second.readLine(), "tessel_2-4.0");
    PeerProcess numbered({"hold", "tessel_1-4.0"});
    EXPECT_EQ(numbered.readLine(), "none");
}

TEST_F(StreamTest, NameOfKilledOwnerIsFreeAtOnceDespiteItsStaleSocket)
{
    PeerProcess owner({"hold", "tessel"});
    ASSERT_EQ(owner.readLine(), "tessel");
    owner.killHard();
    owner.wait();
    struct stat info;
    ASSERT_EQ(::lstat(socketPath("tessel").c_str(), &info), 0) << "a SIGKILL leaves the socket behind";

    InterAppStream sender("sender", false);
    auto start = Clock::now();
    EXPECT_FALSE(sender.send("tessel", "to the dead"));
    EXPECT_LT(elapsedMs(start), 50);

    InterAppStream heir("tessel", false);
    ASSERT_TRUE(heir.isGood());
    PeerProcess peer({"send", "tessel", "100"});
    EXPECT_EQ(drain(heir, 100, std::chrono::seconds(5)), streamPattern(100));
    EXPECT_EQ(peer.readLine(), "ok");
}

TEST_F(StreamTest, LaunchedChildDoesNotKeepItsParentsName)
{
    std::unique_ptr<InterAppStream> parent(new InterAppStream("parent", false));
    ASSERT_TRUE(parent->isGood());
    PeerProcess child({"hold", "child"});
    ASSERT_EQ(child.readLine(), "child");
    parent.reset();
    EXPECT_TRUE(InterAppStream("parent", false).isGood());
}

TEST_F(StreamTest, WaitEndsWhenAPeerDeliversAndTakesNothingIn)
{
    InterAppStream inbox("inbox", false);
    ASSERT_TRUE(inbox.isGood());
    auto start = Clock::now();
    EXPECT_FALSE(inbox.waitForActivity(60));
    EXPECT_GE(elapsedMs(start), 50) << "nothing came: the whole wait";

    // The peer's send blocks until we take its blob in, so the wait has to
    // end on its arrival, not on its own time.
    PeerProcess peer({"send", "inbox", "100"});
    start = Clock::now();
    ASSERT_TRUE(inbox.waitForActivity(10000));
    EXPECT_LT(elapsedMs(start), 5000);
    EXPECT_TRUE(inbox.isEmpty()) << "waiting takes nothing in";
    EXPECT_EQ(drain(inbox, 100, std::chrono::seconds(5)), streamPattern(100));
    EXPECT_EQ(peer.readLine(), "ok");

    // The peer kept its connection for a next blob until it exited; the
    // next pass lets it go.
    EXPECT_EQ(peer.wait(), 0);
    EXPECT_FALSE(inbox.messagePending());
    std::vector<pollfd> fds;
    inbox.appendWaitDescriptors(fds);
    EXPECT_EQ(fds.size(), 1u) << "an idle endpoint: its listening socket only";
    InterAppStream taken("inbox", false);
    ASSERT_FALSE(taken.isGood());
    fds.clear();
    taken.appendWaitDescriptors(fds);
    EXPECT_TRUE(fds.empty()) << "a stream that is not good has nothing to wait on";
    EXPECT_FALSE(taken.waitForActivity(0));
}

TEST_F(StreamTest, NameProbeSeesLiveOwnersOnlyAndMakesNoEndpoint)
{
    PeerProcess owner({"hold", "owned"});
    ASSERT_EQ(owner.readLine(), "owned");
    InterAppStream mine("mine", false);
    EXPECT_FALSE(InterAppStream::nameIsFree("owned"));
    EXPECT_FALSE(InterAppStream::nameIsFree("mine"));
    EXPECT_FALSE(mine.canOpen("mine", false));
    EXPECT_TRUE(InterAppStream::nameIsFree("free"));
    struct stat info;
    EXPECT_NE(::lstat(socketPath("free").c_str(), &info), 0) << "asking makes no socket";
    EXPECT_FALSE(lockFileExists("free")) << "nor a lock file";
    owner.killHard();
    owner.wait();
    EXPECT_TRUE(lockFileExists("owned")) << "a killed owner cannot clean up";
    EXPECT_TRUE(InterAppStream::nameIsFree("owned")) << "the lock went with its owner";

    // Names used once, as a process number makes them, leave nothing behind.
    { InterAppStream once("once_4242", false); ASSERT_TRUE(once.isGood()); EXPECT_TRUE(lockFileExists("once_4242")); }
    EXPECT_FALSE(lockFileExists("once_4242"));
    EXPECT_FALSE(lockFileExists("owned")) << "the probe took the stale lock and let it go";
}

TEST_F(StreamTest, TwoSendersToEachOtherBothGetThrough)
{
    // Neither side polls its endpoint: each is blocked in its own send,
    // waiting for the other to take its blob in.
    InterAppStream mine("crossing", false);
    ASSERT_TRUE(mine.isGood());
    PeerProcess peer({"sendhold", "crossing", "1000"});
    ::usleep(200000);
    const auto start = Clock::now();
    EXPECT_TRUE(mine.send("stream-peer", SoString(streamPattern(500).c_str())));
    EXPECT_LT(elapsedMs(start), 2000) << "not after the whole send bound";
    EXPECT_EQ(peer.readLine(), "ok");
    EXPECT_EQ(drain(mine, 1000, std::chrono::seconds(5)), streamPattern(1000)) << "taken in while we sent";
}

TEST_F(StreamTest, SendToNameNobodyHoldsFailsAtOnce)
{
    InterAppStream sender("sender", false);
    // Never held; held once and let go cleanly; a lock file without socket.
    { InterAppStream gone("gone", false); }
    ASSERT_EQ(::close(::open(
                  (endpointDir() + "/" + StreamTransport::endpointBaseName(endpointDir(), "\\\\.\\port\\Quay_and_Mole_lockonly") + ".lock").c_str(),
                  O_CREAT | O_WRONLY, 0600)),
        0);
    for (const char* target : {"nobody-here", "gone", "lockonly"}) {
        const auto start = Clock::now();
        EXPECT_FALSE(sender.send(target, "hello")) << target;
        EXPECT_LT(elapsedMs(start), 50) << target;
    }
}

TEST_F(StreamTest, SixteenMiBBlobsTravelIntactBothWays)
{
    const std::size_t size = std::size_t(16) << 20;
    InterAppStream receiver("big", false);
    PeerProcess peer({"send", "big", std::to_string(size)});
    // Polled at the messaging thread's pace, a large blob must still come in
    // a few polls, far within the sender's bound.
    const std::string got = drain(receiver, size, std::chrono::seconds(6), std::chrono::milliseconds(100));
    EXPECT_EQ(peer.readLine(), "ok");
    ASSERT_EQ(got.size(), size);
    EXPECT_TRUE(got == streamPattern(size)) << "the blob arrived changed";
    EXPECT_EQ(receiver.receiveBufferCapacity(), long(size));

    PeerProcess sink({"hold", "sink"});
    ASSERT_EQ(sink.readLine(), "sink");
    const std::string blob = streamPattern(size);
    EXPECT_TRUE(receiver.send("sink", SoString(blob.data(), long(blob.size()))));
}

TEST_F(StreamTest, StalledPeerIsDroppedAtItsDeadlineWhileOthersAreServed)
{
    InterAppStream receiver("receiver", false);
    receiver.setConnectionDeadline(std::chrono::milliseconds(400));
    Poller poller(receiver);
    PeerProcess stalled({"raw", socketPath("receiver"), "stall"});
    ::usleep(100000);
    PeerProcess punctual({"send", "receiver", "64"});
    EXPECT_EQ(punctual.readLine(), "ok");
    const std::string line = stalled.readLine();
    ASSERT_EQ(line.rfind("dropped ", 0), 0u) << line;
    const long ms = std::atol(line.c_str() + 8);
    EXPECT_GE(ms, 300);
    EXPECT_LT(ms, 2000);
    poller.stop();
    EXPECT_LT(poller.longestPoll(), std::chrono::milliseconds(300));
    EXPECT_EQ(std::string(receiver.getMessages().c_str()), streamPattern(64));
}

TEST_F(StreamTest, BadPeerInputIsRefusedAndTheEndpointKeepsServing)
{
    InterAppStream receiver("receiver", false);
    receiver.setConnectionDeadline(std::chrono::milliseconds(300));
    Poller poller(receiver);
    for (const char* mode : {"garbage", "huge", "silent", "halfway"}) {
        PeerProcess bad({"raw", socketPath("receiver"), mode});
        EXPECT_EQ(bad.readLine(), "refused") << mode;
        PeerProcess good({"send", "receiver", "64"});
        EXPECT_EQ(good.readLine(), "ok") << "after " << mode;
    }
    poller.stop();
    std::string expected;
    for (int i = 0; i < 4; ++i)
        expected += streamPattern(64);
    EXPECT_EQ(std::string(receiver.getMessages().c_str()), expected);
}

TEST_F(StreamTest, EndpointDirectoryThatIsNotPrivateIsRefused)
{
    const passwd* nobody = ::getpwnam("nobody");
    const std::string dir = endpointDir();
    const std::string elsewhere = m_runtime + "/elsewhere";
    ASSERT_EQ(::mkdir(elsewhere.c_str(), 0700), 0);
    struct Row {
        const char* what;
        std::function<bool()> make;
    } rows[] = {
        {"group bits", [&] { return ::mkdir(dir.c_str(), 0700) == 0 && ::chmod(dir.c_str(), 0750) == 0; }},
        {"other bits", [&] { return ::mkdir(dir.c_str(), 0700) == 0 && ::chmod(dir.c_str(), 0701) == 0; }},
        {"symlink to a private directory", [&] { return ::symlink(elsewhere.c_str(), dir.c_str()) == 0; }},
        {"a file", [&] { return ::close(::open(dir.c_str(), O_CREAT | O_WRONLY, 0600)) == 0; }},
        {"owned by another user",
            [&] { return ::getuid() == 0 && nobody && ::mkdir(dir.c_str(), 0700) == 0 && ::chown(dir.c_str(), nobody->pw_uid, nobody->pw_gid) == 0; }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        std::filesystem::remove_all(dir);
        if (!row.make()) {
            std::printf("skipped \"%s\": needs root and a nobody user\n", row.what);
            continue;
        }
        InterAppStream stream("refused", false);
        EXPECT_FALSE(stream.isGood());
        EXPECT_EQ(createNextAvailableInterAppStream("refused"), nullptr);
        EXPECT_TRUE(std::filesystem::is_empty(elsewhere));
    }
    std::filesystem::remove_all(dir);
    EXPECT_TRUE(InterAppStream("accepted", false).isGood());

    // A runtime directory that is not private sends a process starting now
    // to the per-user directory under /tmp instead.
    ASSERT_EQ(::chmod(m_runtime.c_str(), 0755), 0);
    EXPECT_EQ(StreamTransport::endpointDirectory(), dir) << "verified once, kept for this setting";
    StreamTransport::forgetEndpointDirectory();
    EXPECT_EQ(StreamTransport::endpointDirectory(), "/tmp/tesseltalk-" + std::to_string(::geteuid()));
}

TEST_F(StreamTest, EndpointDirectoryFollowsTheRuntimeSettingOfTheMoment)
{
    const std::string first = StreamTransport::endpointDirectory();
    EXPECT_EQ(first, endpointDir());
    const std::string other = m_runtime + "/other";
    ASSERT_EQ(::mkdir(other.c_str(), 0700), 0);
    ::setenv("XDG_RUNTIME_DIR", other.c_str(), 1);
    EXPECT_EQ(StreamTransport::endpointDirectory(), other + "/tesseltalk");
    EXPECT_TRUE(StreamTransport::isPrivateDirectory(other + "/tesseltalk")) << "verified, and so made";
    ::setenv("XDG_RUNTIME_DIR", m_runtime.c_str(), 1);
    EXPECT_EQ(StreamTransport::endpointDirectory(), first);
}

TEST_F(StreamTest, EndpointDirectoryRemovedWhileRunningIsMadeAgain)
{
    std::unique_ptr<InterAppStream> before(createNextAvailableInterAppStream("before"));
    ASSERT_TRUE(before && before->isGood());
    before.reset();
    std::filesystem::remove_all(endpointDir());

    InterAppStream after("after", false);
    EXPECT_TRUE(after.isGood());
    struct stat info {};
    ASSERT_EQ(::lstat(endpointDir().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0700u);
    Poller poller(after);
    InterAppStream sender("sender", false);
    EXPECT_TRUE(sender.send(SoString("after"), SoString("hello")));
}

TEST_F(StreamTest, PeerRunningAsAnotherUserCannotDeliver)
{
    const passwd* nobody = ::getpwnam("nobody");
    if (::getuid() != 0 || !nobody)
        GTEST_SKIP() << "needs root to run a peer as nobody";
    InterAppStream receiver("receiver", false);
    ASSERT_TRUE(receiver.isGood());
    // Open the way to the socket itself, so that only the receiver's own
    // check of the peer's user stands between them.
    const std::string socket = socketPath("receiver");
    ASSERT_EQ(::chmod(m_runtime.c_str(), 0711), 0);
    ASSERT_EQ(::chmod(endpointDir().c_str(), 0711), 0);
    ASSERT_EQ(::chmod(socket.c_str(), 0777), 0);
    Poller poller(receiver);
    PeerProcess stranger({"raw", socket, "valid", "--as-nobody"});
    EXPECT_EQ(stranger.readLine(), "refused");
    PeerProcess same({"raw", socket, "valid"});
    EXPECT_EQ(same.readLine(), "acked");
    poller.stop();
    EXPECT_EQ(std::string(receiver.getMessages().c_str()), streamPattern(64));
}

TEST_F(StreamTest, KeptConnectionCarriesTheNextBlobUntilItsReceiverGoes)
{
    InterAppStream sender("sender", false);
    sender.setKeepsConnections(true);
    // A send waits for its blob to be taken in, which the test does meanwhile.
    const auto deliverFrom = [](InterAppStream& from, InterAppStream& receiver, const char* name,
                                 const std::string& text, std::chrono::milliseconds limit = std::chrono::seconds(5)) {
        bool sent = false;
        std::thread sending([&] { sent = from.send(name, SoString(text.c_str())); });
        const std::string got = drain(receiver, text.size(), limit);
        sending.join();
        return sent && got == text;
    };
    const auto deliver = [&](InterAppStream& receiver, const std::string& text,
                             std::chrono::milliseconds limit = std::chrono::seconds(5)) {
        return deliverFrom(sender, receiver, "tessel", text, limit);
    };
    std::unique_ptr<InterAppStream> first(new InterAppStream("tessel", false));
    first->setKeepsConnections(true);
    ASSERT_TRUE(deliver(*first, "one"));
    // The receiver's next passes answer the sender's request to keep it.
    EXPECT_EQ(drain(*first, 1, std::chrono::milliseconds(100)), "");
    // With its socket file gone nobody could connect: only the connection
    // kept from the first blob can carry the second.
    ASSERT_EQ(::unlink(socketPath("tessel").c_str()), 0);
    EXPECT_TRUE(deliver(*first, "two"));

    // The next owner of the name gets the next blob once, on a new connection.
    first.reset();
    InterAppStream heir("tessel", false);
    ASSERT_TRUE(heir.isGood());
    EXPECT_TRUE(deliver(heir, "three"));
    EXPECT_EQ(drain(heir, 1, std::chrono::milliseconds(100)), "");

    // An endpoint that does not keep connections never confirms: with its
    // socket gone, the next blob finds nobody.
    EXPECT_TRUE(deliver(heir, "four"));
    EXPECT_EQ(drain(heir, 1, std::chrono::milliseconds(100)), "");
    ASSERT_EQ(::unlink(socketPath("tessel").c_str()), 0);
    EXPECT_FALSE(deliver(heir, "five", std::chrono::milliseconds(300)));

    // A sender that does not keep its own connections does not ask for
    // them to be kept, even of a receiver that would.
    InterAppStream keeper("keeper", false);
    keeper.setKeepsConnections(true);
    InterAppStream plainSender("plainsender", false);
    EXPECT_TRUE(deliverFrom(plainSender, keeper, "keeper", "six"));
    EXPECT_EQ(drain(keeper, 1, std::chrono::milliseconds(100)), "");
    ASSERT_EQ(::unlink(socketPath("keeper").c_str()), 0);
    EXPECT_FALSE(deliverFrom(plainSender, keeper, "keeper", "seven", std::chrono::milliseconds(300)));

    // A receiver killed with a connection kept to it is found gone at once.
    PeerProcess owner({"hold", "other"});
    ASSERT_EQ(owner.readLine(), "other");
    ASSERT_TRUE(sender.send("other", "hello"));
    owner.killHard();
    owner.wait();
    const auto start = Clock::now();
    EXPECT_FALSE(sender.send("other", "to the dead"));
    EXPECT_LT(elapsedMs(start), 50);
}

TEST_F(StreamTest, ReceiverFullOfKeptConnectionsMakesRoomForANewSender)
{
    InterAppStream receiver("receiver", false);
    receiver.setKeepsConnections(true);
    Poller poller(receiver);
    const auto deadline = [] { return Clock::now() + std::chrono::seconds(5); };
    std::vector<int> kept;
    for (std::size_t i = 0; i < LinuxInterAppStream::kMaxConnections; ++i) {
        const int fd = StreamTransport::connectEndpoint(socketPath("receiver").c_str(), deadline());
        ASSERT_GE(fd, 0);
        ASSERT_EQ(int(StreamTransport::writeBlob(fd, "k", 1, deadline())), int(StreamTransport::Delivery::Taken));
        kept.push_back(fd);
    }
    PeerProcess newcomer({"send", "receiver", "64"});
    EXPECT_EQ(newcomer.readLine(), "ok");
    // Exactly one kept connection gave way, and its sender sees it closed.
    int closed = 0;
    for (const int fd : kept) {
        pollfd p{fd, POLLIN, 0};
        closed += ::poll(&p, 1, 0) == 1 && (p.revents & (POLLHUP | POLLIN)) ? 1 : 0;
        ::close(fd);
    }
    EXPECT_EQ(closed, 1);
    poller.stop();
    EXPECT_EQ(std::string(receiver.getMessages().c_str()), std::string(LinuxInterAppStream::kMaxConnections, 'k') + streamPattern(64));
}

TEST_F(StreamTest, ReceiverOfThePlainExchangeGetsEachBlobOnANewConnection)
{
    // A receiver that acknowledges each blob and then neither reads nor
    // closes its end: asked to keep a connection, it never confirms.
    const std::string path = socketPath("plain");
    const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, path.c_str());
    ASSERT_EQ(::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(listener, 8), 0);
    std::vector<int> accepted;
    std::thread plain([&] {
        for (int i = 0; i < 3; ++i) {
            pollfd waiting{listener, POLLIN, 0};
            if (::poll(&waiting, 1, 15000) != 1)
                return;
            const int fd = ::accept(listener, nullptr, nullptr);
            if (fd < 0)
                return;
            std::string frame(StreamTransport::kHeaderSize + 5, '\0');
            if (::recv(fd, frame.data(), frame.size(), MSG_WAITALL) != ssize_t(frame.size()))
                return;
            const char ack = char(StreamTransport::kAck);
            ASSERT_EQ(::send(fd, &ack, 1, MSG_NOSIGNAL), 1);
            accepted.push_back(fd);
        }
    });
    InterAppStream sender("sender", false);
    sender.setKeepsConnections(true);
    for (const char* text : {"first", "again", "third"}) {
        const auto start = Clock::now();
        EXPECT_TRUE(sender.send("plain", text)) << text;
        EXPECT_LT(elapsedMs(start), 1000) << text;
    }
    plain.join();
    EXPECT_EQ(accepted.size(), 3u);
    for (const int fd : accepted)
        ::close(fd);
    ::close(listener);
}
