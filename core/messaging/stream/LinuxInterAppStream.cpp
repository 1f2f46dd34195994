#include "LinuxInterAppStream.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>
#include <string>

#include "BlobFraming.h"
#include "EndpointPath.h"
#include "KeptConnections.h"

using ScObjects::ObjectLock;
using ScObjects::SoString;
using StreamTransport::BlobConnection;
using StreamTransport::Clock;
using StreamTransport::Delivery;

namespace {

const char kPortPrefix[] = "\\\\.\\port\\Quay_and_Mole_";
// How long one messagePending call may keep taking in data that keeps
// coming, so that a busy peer cannot hold the messaging thread.
constexpr std::chrono::milliseconds kServiceBudget{100};
// How long a pass waits for the next bytes of a blob that is on its way,
// after a pass that took some in. Without it a large blob would come in
// one socket buffer per messaging-thread cycle.
constexpr int kBlobWaitMs = 10;

bool peerIsSameUser(int fd)
{
    ucred credentials{};
    socklen_t size = sizeof credentials;
    return ::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &credentials, &size) == 0 && credentials.uid == ::geteuid();
}

int bindAndListen(const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path)
        return -1;
    std::strcpy(address.sun_path, path.c_str());
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0)
        return -1;
    const bool bound = ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    if (bound && ::listen(fd, SOMAXCONN) == 0)
        return fd;
    // errno is the caller's answer: why the path could not be had.
    const int error = errno;
    if (bound)
        ::unlink(path.c_str());
    ::close(fd);
    errno = error;
    return -1;
}

// The listening socket at path; we hold the name's lock. Owners remove their
// socket when they let the name go, so the path is normally free and the
// socket is bound there directly: a sender that comes before listen() is
// refused, as it was a moment earlier when there was no socket at all. A
// socket left by an owner that died is replaced in one step instead, by
// binding under a temporary name and renaming over it, so that no sender
// ever finds the path empty while a live owner is taking it over.
int listenAt(const std::string& directory, const std::string& path)
{
    const int direct = bindAndListen(path);
    if (direct >= 0 || errno != EADDRINUSE)
        return direct;
    static std::atomic<unsigned long> counter{0};
    const std::string temporary
        = directory + "/.b" + std::to_string(::getpid()) + "-" + std::to_string(counter++);
    // A temporary name of ours can only be taken by a dead process whose
    // identifier we inherited: replace it then, and only then.
    int fd = bindAndListen(temporary);
    if (fd < 0 && errno == EADDRINUSE) {
        ::unlink(temporary.c_str());
        fd = bindAndListen(temporary);
    }
    if (fd < 0)
        return -1;
    if (::rename(temporary.c_str(), path.c_str()) != 0) {
        ::unlink(temporary.c_str());
        ::close(fd);
        return -1;
    }
    return fd;
}

} // namespace

LinuxInterAppStream::DataRef::DataRef(char* data, long length)
    : m_data(data)
    , m_length(length)
{
}

LinuxInterAppStream::DataRef::~DataRef()
{
    ScObjects::SoHeap::freeHeap(m_data);
}

char* LinuxInterAppStream::DataRef::release()
{
    char* data = m_data;
    m_data = nullptr;
    return data;
}

namespace {

// The lock that makes its holder the owner of a name; -1 when somebody else
// holds it or it cannot be had. Owners remove the lock file when they let
// the name go, so that names used once (a process number in them) do not
// pile up: a lock taken on a file that was removed meanwhile is no lock on
// the name, and we try again with the file now at the path.
int takeNameLock(const std::string& lockPath)
{
    for (int attempt = 0; attempt < 8; ++attempt) {
        const int fd = ::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
        if (fd < 0)
            return -1;
        // A held lock means a live owner.
        if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
            ::close(fd);
            return -1;
        }
        struct stat held;
        struct stat atPath;
        if (::fstat(fd, &held) == 0 && ::lstat(lockPath.c_str(), &atPath) == 0 && held.st_dev == atPath.st_dev
            && held.st_ino == atPath.st_ino)
            return fd;
        ::close(fd);
    }
    return -1;
}

// Lets the name go: the file is removed while still locked, so nobody can
// have taken it in between.
void releaseNameLock(int fd, const std::string& lockPath)
{
    ::unlink(lockPath.c_str());
    ::close(fd);
}

} // namespace

LinuxInterAppStream::LinuxInterAppStream(const SoString& name, bool flag)
    : BaseInterAppStream(name, flag, kPortPrefix)
{
    if (!open()) {
        if (m_lockFd >= 0)
            releaseNameLock(m_lockFd, m_lockPath.c_str());
        m_lockFd = -1;
    }
}

bool LinuxInterAppStream::canOpen(const SoString& name, bool) const
{
    return nameIsFree(name);
}

bool LinuxInterAppStream::nameIsFree(const SoString& name)
{
    // Owning a name is holding its lock, so asking for the lock answers
    // whether a stream of that name could be made, without making one.
    SoString port(kPortPrefix);
    port << name;
    StreamTransport::EndpointPaths paths;
    if (!StreamTransport::endpointPaths(std::string(port.c_str(), std::size_t(port.length())), paths))
        return false;
    // An owner keeps its lock file at the path for as long as it holds the
    // name, so a missing file answers without creating and removing one.
    const int probe = ::open(paths.lock.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (probe < 0)
        return errno == ENOENT;
    ::close(probe);
    const int fd = takeNameLock(paths.lock);
    if (fd < 0)
        return false;
    releaseNameLock(fd, paths.lock);
    return true;
}

bool LinuxInterAppStream::open()
{
    const SoString port = portName();
    const std::string name(port.c_str(), std::size_t(port.length()));
    StreamTransport::EndpointPaths paths;
    if (!StreamTransport::endpointPaths(name, paths))
        return false;
    m_lockFd = takeNameLock(paths.lock);
    if (m_lockFd < 0 && errno == ENOENT) {
        // The directory was verified earlier and removed since (a session's
        // runtime folder cleaned up): verifying it afresh makes it again.
        StreamTransport::forgetEndpointDirectory();
        if (!StreamTransport::endpointPaths(name, paths))
            return false;
        m_lockFd = takeNameLock(paths.lock);
    }
    if (m_lockFd < 0)
        return false;
    m_lockPath = paths.lock.c_str();
    m_listenFd = listenAt(paths.directory, paths.socket);
    if (m_listenFd < 0)
        return false;
    m_socketPath = paths.socket.c_str();
    return true;
}

LinuxInterAppStream::~LinuxInterAppStream()
{
    ObjectLock lock(this);
    m_connections.clear();
    if (m_listenFd >= 0) {
        // Still under our lock: the file at this path is ours to remove.
        ::unlink(m_socketPath.c_str());
        ::close(m_listenFd);
    }
    if (m_lockFd >= 0)
        releaseNameLock(m_lockFd, m_lockPath.c_str());
}

bool LinuxInterAppStream::isGood() const
{
    ObjectLock lock(this);
    return m_listenFd >= 0;
}

void LinuxInterAppStream::setConnectionDeadline(std::chrono::milliseconds deadline)
{
    ObjectLock lock(this);
    m_connectionDeadline = deadline;
}

void LinuxInterAppStream::setKeepsConnections(bool keeps)
{
    m_keepsConnections = keeps;
}

bool LinuxInterAppStream::send(const SoString& target, const SoString& data) const
{
    if (m_listenFd < 0)
        return false;
    const Clock::time_point deadline = Clock::now() + kSendTimeout;
    const SoString port = portNameFor(target);
    const std::string portName(port.c_str(), std::size_t(port.length()));
    const std::string key = StreamTransport::keptConnectionKey(portName);
    // A kept connection that its receiver closed meanwhile did not take the
    // blob, which then goes on a new one, as if none had been kept.
    for (StreamTransport::KeptConnection kept; StreamTransport::takeKeptConnection(key, kept);) {
        if (kept.confirmed || StreamTransport::keepConfirmed(kept.fd)) {
            const Delivery delivery = deliver(kept.fd, data, deadline);
            if (delivery != Delivery::Unread)
                return settle(key, kept.fd, delivery, true);
        }
        ::close(kept.fd);
    }
    StreamTransport::EndpointPaths paths;
    if (!StreamTransport::endpointPaths(portName, paths))
        return false;
    const int fd = StreamTransport::connectEndpoint(paths.socket.c_str(), deadline);
    if (fd < 0)
        return false;
    return settle(key, fd, deliver(fd, data, deadline), false);
}

Delivery LinuxInterAppStream::deliver(int fd, const SoString& data, Clock::time_point deadline) const
{
    ObjectLock sendLock(m_sendLock);
    return StreamTransport::writeBlob(fd, data.c_str(), std::size_t(data.length()), deadline,
        [this](int peer, short events, Clock::time_point until) { return waitServingOurOwn(peer, events, until); });
}

bool LinuxInterAppStream::settle(const std::string& key, int fd, Delivery delivery, bool confirmed) const
{
    if (delivery != Delivery::Taken) {
        ::close(fd);
        return false;
    }
    // Asked once per connection; the answer is looked for when the next
    // blob to that endpoint comes, so nobody waits for it.
    if (confirmed || (m_keepsConnections && StreamTransport::askToKeep(fd)))
        StreamTransport::keepConnection(key, StreamTransport::KeptConnection{fd, confirmed});
    else
        ::close(fd);
    return true;
}

bool LinuxInterAppStream::waitServingOurOwn(int peer, short events, Clock::time_point deadline) const
{
    // The peer may be sending to us at this very moment and, like us, wait
    // for its blob to be taken in before it reads ours: take ours in
    // meanwhile, or two processes sending to each other would both wait out
    // the whole send bound.
    for (;;) {
        std::vector<pollfd> fds{pollfd{peer, events, 0}};
        appendWaitDescriptors(fds);
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left <= 0)
            return false;
        const int ready = ::poll(fds.data(), fds.size(), int(left));
        if (ready < 0 && errno != EINTR)
            return false;
        if (ready > 0 && fds[0].revents)
            return true;
        if (ready > 0) {
            ObjectLock lock(this);
            try {
                servicePass(0);
            } catch (const std::bad_alloc&) {
                // The blob stays with its sender, who tries again.
            }
        }
    }
}

bool LinuxInterAppStream::servicePass(int waitMs) const
{
    std::vector<pollfd> fds;
    fds.reserve(m_connections.size() + 1);
    fds.push_back(pollfd{m_listenFd, POLLIN, 0});
    for (const auto& connection : m_connections)
        fds.push_back(pollfd{connection->fd(), POLLIN, 0});
    if (::poll(fds.data(), fds.size(), waitMs) < 0)
        return false;

    const Clock::time_point now = Clock::now();
    bool moved = false;
    const std::size_t known = m_connections.size();
    // One peer per pass: the caller passes again while peers keep coming,
    // and an idle listener costs no extra call.
    if (fds[0].revents) {
        const int fd = ::accept4(m_listenFd, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (fd >= 0) {
            moved = true;
            std::unique_ptr<BlobConnection> connection(
                new BlobConnection(fd, now, m_connectionDeadline, kIdleConnectionTime));
            if (peerIsSameUser(fd) && makeRoom())
                m_connections.push_back(std::move(connection));
        }
    }

    // In order of acceptance, so that blobs completed in one pass queue in
    // the order their senders came.
    for (std::size_t i = 0, slot = 1; i < m_connections.size(); ++slot) {
        BlobConnection& connection = *m_connections[i];
        // New peers are read at once: most blobs are already whole in the
        // socket when it is accepted.
        if (slot > known || fds[slot].revents || now >= connection.deadline())
            moved |= connection.service(now) > 0;
        if (connection.state() == BlobConnection::State::Done) {
            std::size_t length = 0;
            char* blob = connection.takeBlob(length, now);
            std::unique_ptr<DataRef> ref;
            try {
                ref.reset(new DataRef(blob, long(length)));
            } catch (...) {
                ScObjects::SoHeap::freeHeap(blob);
                throw;
            }
            m_queue.append(ref.get());
            ref.release();
            moved = true;
        }
        // An endpoint that does not keep connections ends each after its
        // blob, so that a sender asking to keep it is never answered.
        if (connection.state() == BlobConnection::State::Refused || (connection.isIdle() && !m_keepsConnections))
            m_connections.erase(m_connections.begin() + long(i));
        else
            ++i;
    }
    return moved;
}

bool LinuxInterAppStream::blobOnItsWay() const
{
    return std::any_of(m_connections.begin(), m_connections.end(),
        [](const std::unique_ptr<BlobConnection>& connection) { return !connection->isIdle(); });
}

bool LinuxInterAppStream::makeRoom() const
{
    if (m_connections.size() < kMaxConnections)
        return true;
    // A connection kept between blobs gives way to a new peer; its sender
    // connects again when it has more to say. The pass removes it.
    for (const auto& connection : m_connections) {
        if (connection->isIdle()) {
            connection->drop();
            return true;
        }
    }
    return false;
}

void LinuxInterAppStream::appendWaitDescriptors(std::vector<pollfd>& out) const
{
    ObjectLock lock(this);
    if (m_listenFd < 0)
        return;
    out.push_back(pollfd{m_listenFd, POLLIN, 0});
    for (const auto& connection : m_connections)
        out.push_back(pollfd{connection->fd(), POLLIN, 0});
}

bool LinuxInterAppStream::waitForActivity(int timeoutMs) const
{
    std::vector<pollfd> fds;
    {
        ObjectLock lock(this);
        if (!m_queue.isEmpty())
            return true;
        appendWaitDescriptors(fds);
    }
    return StreamTransport::waitForAny(fds, timeoutMs);
}

bool LinuxInterAppStream::messagePending() const
{
    if (m_listenFd < 0)
        return false;
    ObjectLock lock(this);
    long previous = m_queue.count();
    try {
        const Clock::time_point start = Clock::now();
        int waitMs = 0;
        for (;;) {
            const bool moved = servicePass(waitMs);
            const long count = m_queue.count();
            const auto left = kServiceBudget - (Clock::now() - start);
            if (left <= Clock::duration::zero())
                break;
            if (count > previous)
                previous = count;
            else if (!moved)
                break;
            waitMs = !blobOnItsWay()
                ? 0
                : int(std::min<long>(kBlobWaitMs, std::chrono::duration_cast<std::chrono::milliseconds>(left).count()));
        }
    } catch (const std::bad_alloc&) {
        // What was queued stays queued; the rest waits for the next call.
    }
    return m_queue.count() >= 1;
}

int LinuxInterAppStream::readFromMsgQueue()
{
    ObjectLock lock(this);
    if (m_queue.isEmpty())
        return 0;
    std::unique_ptr<DataRef> ref(m_queue.removeAt(0));
    const int n = int(ref->length());
    fillBuffer(ref->release(), n);
    return n;
}

bool LinuxInterAppStream::receive()
{
    if (m_listenFd < 0)
        return false;
    try {
        const int n = readFromMsgQueue();
        if (n == 0)
            return false;
        appendFromBuffer(n);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}
