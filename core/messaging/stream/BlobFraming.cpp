#include "BlobFraming.h"

#include <errno.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "SoHeap.h"

namespace StreamTransport {

namespace {

constexpr unsigned char kMagic[4] = {'T', 'T', 'B', '1'};

int remainingMs(Clock::time_point deadline)
{
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    if (left <= 0)
        return 0;
    // Round up, so that a wait never ends just short of the deadline.
    return int(left) + 1;
}

} // namespace

bool waitFor(int fd, short events, Clock::time_point deadline)
{
    for (;;) {
        const int ms = remainingMs(deadline);
        if (ms == 0)
            return false;
        pollfd p{fd, events, 0};
        const int rc = ::poll(&p, 1, ms);
        if (rc > 0)
            return true;
        if (rc < 0 && errno != EINTR)
            return false;
    }
}

bool waitForAny(std::vector<pollfd>& fds, int timeoutMs)
{
    if (fds.empty())
        return false;
    int ready;
    do {
        ready = ::poll(fds.data(), fds.size(), timeoutMs);
    } while (ready < 0 && errno == EINTR);
    return ready > 0;
}

void encodeHeader(std::uint64_t length, unsigned char out[kHeaderSize])
{
    std::memcpy(out, kMagic, sizeof kMagic);
    for (int i = 0; i < 8; ++i)
        out[4 + i] = static_cast<unsigned char>(length >> (56 - 8 * i));
}

bool decodeHeader(const unsigned char in[kHeaderSize], std::uint64_t& length)
{
    if (std::memcmp(in, kMagic, sizeof kMagic) != 0)
        return false;
    length = 0;
    for (int i = 0; i < 8; ++i)
        length = (length << 8) | in[4 + i];
    return length <= kMaxBlobLength;
}

int connectEndpoint(const char* path, Clock::time_point deadline)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (std::strlen(path) >= sizeof address.sun_path)
        return -1;
    std::strcpy(address.sun_path, path);

    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0)
        return -1;
    for (;;) {
        if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
            return fd;
        // EAGAIN: the listener is alive but its backlog is full.
        if (errno == EINTR || (errno == EAGAIN && remainingMs(deadline) > 0)) {
            if (errno == EAGAIN)
                ::usleep(1000);
            continue;
        }
        ::close(fd);
        return -1;
    }
}

Delivery writeBlob(int fd, const char* data, std::size_t length, Clock::time_point deadline, const Waiter& wait)
{
    unsigned char header[kHeaderSize];
    encodeHeader(length, header);
    iovec parts[2] = {{header, kHeaderSize}, {const_cast<char*>(data), length}};
    iovec* part = parts;
    int count = length ? 2 : 1;
    while (count > 0) {
        msghdr message{};
        message.msg_iov = part;
        message.msg_iovlen = std::size_t(count);
        const ssize_t n = ::sendmsg(fd, &message, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            if (errno == EPIPE || errno == ECONNRESET)
                return Delivery::Unread;
            if (errno != EAGAIN || !wait(fd, POLLOUT, deadline))
                return Delivery::Failed;
            continue;
        }
        std::size_t done = std::size_t(n);
        while (count > 0 && done >= part->iov_len) {
            done -= part->iov_len;
            ++part;
            --count;
        }
        if (count > 0) {
            part->iov_base = static_cast<char*>(part->iov_base) + done;
            part->iov_len -= done;
        }
    }
    for (;;) {
        // The answer cannot be there yet: wait first, read once.
        if (!wait(fd, POLLIN, deadline))
            return Delivery::Failed;
        unsigned char answer = 0;
        const ssize_t n = ::recv(fd, &answer, 1, MSG_DONTWAIT);
        if (n == 1)
            return answer == kAck ? Delivery::Taken : Delivery::Failed;
        if (n == 0 || errno == ECONNRESET)
            return Delivery::Unread;
        if (errno != EAGAIN && errno != EINTR)
            return Delivery::Failed;
    }
}

bool askToKeep(int fd)
{
    const unsigned char request = kKeep;
    return ::send(fd, &request, 1, MSG_NOSIGNAL | MSG_DONTWAIT) == 1;
}

bool keepConfirmed(int fd)
{
    unsigned char answer = 0;
    return ::recv(fd, &answer, 1, MSG_DONTWAIT) == 1 && answer == kKeep;
}

BlobConnection::BlobConnection(int fd, Clock::time_point now, Clock::duration blobTime, Clock::duration idleTime)
    : m_fd(fd)
    , m_blobTime(blobTime)
    , m_idleTime(idleTime)
    , m_deadline(now + blobTime)
{
}

BlobConnection::~BlobConnection()
{
    ScObjects::SoHeap::freeHeap(m_blob);
    if (m_fd >= 0)
        ::close(m_fd);
}

void BlobConnection::refuse()
{
    m_state = State::Refused;
    m_idle = false;
    ScObjects::SoHeap::freeHeap(m_blob);
    m_blob = nullptr;
}

std::size_t BlobConnection::service(Clock::time_point now)
{
    // Checked before reading too, so that a peer trickling a byte now and
    // then cannot stretch its time. An idle connection past its time is
    // dropped the same way.
    if ((m_state == State::Header || m_state == State::Body) && now >= m_deadline)
        refuse();
    std::size_t taken = 0;
    while (m_state == State::Header || m_state == State::Body) {
        // While the header is incomplete, what follows it is read in the same
        // call into scratch: a small blob then costs one read.
        char scratch[8192];
        const bool readingHeader = m_state == State::Header;
        iovec parts[2];
        if (readingHeader)
            parts[0] = {m_header + m_headerRead, kHeaderSize - m_headerRead};
        else
            parts[0] = {m_blob + m_bodyRead, m_length - m_bodyRead};
        parts[1] = {scratch, sizeof scratch};
        msghdr message{};
        message.msg_iov = parts;
        message.msg_iovlen = readingHeader ? 2 : 1;
        const ssize_t n = ::recvmsg(m_fd, &message, MSG_DONTWAIT);
        if (n <= 0) {
            if (n < 0 && errno == EINTR)
                continue;
            if (n == 0 || errno != EAGAIN)
                refuse();
            return taken;
        }
        taken += std::size_t(n);
        if (m_idle && readingHeader && m_headerRead == 0 && m_header[0] == kKeep) {
            // A sender asking to keep the connection sends nothing more
            // until it has our answer.
            if (n != 1) {
                refuse();
                return taken;
            }
            const unsigned char answer = kKeep;
            (void)::send(m_fd, &answer, 1, MSG_NOSIGNAL | MSG_DONTWAIT);
            continue;
        }
        if (m_idle) {
            m_idle = false;
            m_deadline = now + m_blobTime;
        }
        if (readingHeader) {
            const std::size_t forHeader = std::min(std::size_t(n), kHeaderSize - m_headerRead);
            m_headerRead += forHeader;
            const std::size_t extra = std::size_t(n) - forHeader;
            if (m_headerRead < kHeaderSize)
                continue;
            std::uint64_t length = 0;
            // Nothing may follow the blob, so more bytes than announced are a
            // fault as well.
            if (!decodeHeader(m_header, length) || extra > length) {
                refuse();
                return taken;
            }
            m_length = std::size_t(length);
            // Allocated only now that the length has passed the cap; pages
            // the peer never fills are never touched.
            if (m_length && !(m_blob = static_cast<char*>(ScObjects::SoHeap::mallocHeap(m_length)))) {
                refuse();
                return taken;
            }
            if (extra)
                std::memcpy(m_blob, scratch, extra);
            m_bodyRead = extra;
            m_state = State::Body;
        } else {
            m_bodyRead += std::size_t(n);
        }
        if (m_bodyRead == m_length) {
            // The blob is ours now, whether or not the sender is still there
            // to read the answer.
            const unsigned char ack = kAck;
            (void)::send(m_fd, &ack, 1, MSG_NOSIGNAL | MSG_DONTWAIT);
            m_state = State::Done;
        }
    }
    return taken;
}

char* BlobConnection::takeBlob(std::size_t& length, Clock::time_point now)
{
    if (m_state != State::Done) {
        length = 0;
        return nullptr;
    }
    length = m_length;
    char* blob = m_blob;
    m_blob = nullptr;
    m_state = State::Header;
    m_headerRead = 0;
    m_length = 0;
    m_bodyRead = 0;
    m_idle = true;
    m_deadline = now + m_idleTime;
    return blob;
}

} // namespace StreamTransport
