// The framing of one blob on one stream connection.
//
// A sender connects, writes a 12-byte header ("TTB1" and the blob's length
// as 64-bit big-endian), then the bytes, and waits for the byte kAck that
// the receiver writes once it holds the whole blob.
//
// Our extension, invisible to both sides of the plain exchange: after its
// acknowledgement a sender may write the one byte kKeep. A receiver that
// reads further blobs on the same connection answers with kKeep, and from
// then on the sender may send its next blob to that endpoint on the open
// connection instead of connecting again. A receiver of the plain exchange
// closes the connection or never answers, so the sender never reuses it.
#pragma once

#include <poll.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace StreamTransport {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kHeaderSize = 12;
// Well above the largest message text the system sends (16 MiB must
// travel); checked before anything is allocated for a blob.
constexpr std::uint64_t kMaxBlobLength = std::uint64_t(64) << 20;
constexpr unsigned char kAck = 0x06;
constexpr unsigned char kKeep = 'K';

void encodeHeader(std::uint64_t length, unsigned char out[kHeaderSize]);
// The length announced by a header; false for a wrong magic or a length
// above kMaxBlobLength.
bool decodeHeader(const unsigned char in[kHeaderSize], std::uint64_t& length);

// Opens a connection to the listening socket at path. Non-blocking; a full
// backlog is retried until the deadline. -1 when nobody listens there (no
// socket, refused, not permitted) or the deadline passed.
int connectEndpoint(const char* path, Clock::time_point deadline);
// Waits until fd is ready for events; false on the deadline or an error.
bool waitFor(int fd, short events, Clock::time_point deadline);
// Waits at most timeoutMs for any of fds to be ready; whether one is.
bool waitForAny(std::vector<pollfd>& fds, int timeoutMs);

// How writeBlob waits whenever the peer is not ready: waitFor, unless the
// caller has something to do meanwhile.
using Waiter = std::function<bool(int fd, short events, Clock::time_point deadline)>;

enum class Delivery {
    // No acknowledgement before the deadline, or a wrong one.
    Failed,
    // The receiver closed the connection without acknowledging: it did not
    // take the blob, which may be sent again on a new connection.
    Unread,
    // Acknowledged.
    Taken,
};

// Writes one framed blob on fd and waits for the acknowledgement. Never
// blocks past the deadline, never raises SIGPIPE, does not close fd.
Delivery writeBlob(int fd, const char* data, std::size_t length, Clock::time_point deadline,
    const Waiter& wait = waitFor);

// After a Taken blob: asks the receiver to keep the connection (never
// blocks); false when the request could not be written.
bool askToKeep(int fd);
// Whether the receiver has answered askToKeep (never blocks).
bool keepConfirmed(int fd);

// The receiving side of one connection: reads the header and the bytes as
// they come, without ever blocking, and answers with kAck once the blob is
// whole. Between blobs it answers kKeep with kKeep. Any fault (wrong magic,
// a length above the cap, the peer closing early, a read error, the deadline
// passing) refuses the connection.
class BlobConnection {
public:
    enum class State { Header, Body, Done, Refused };

    // Takes ownership of fd, which must be non-blocking. A blob must be whole
    // within blobTime of its first byte (of the connection, for the first
    // one); between blobs the connection is dropped after idleTime.
    BlobConnection(int fd, Clock::time_point now, Clock::duration blobTime, Clock::duration idleTime);
    ~BlobConnection();
    BlobConnection(const BlobConnection&) = delete;
    BlobConnection& operator=(const BlobConnection&) = delete;

    // Reads what is there now; returns the number of bytes taken, so that
    // the caller can tell whether the pass made progress.
    std::size_t service(Clock::time_point now);

    State state() const { return m_state; }
    int fd() const { return m_fd; }
    Clock::time_point deadline() const { return m_deadline; }

    // After Done: hands over the blob (a SoHeap block, null for an empty
    // blob) and its length, and waits for the next one.
    char* takeBlob(std::size_t& length, Clock::time_point now);
    // Between blobs: one was taken and nothing of the next has come yet.
    bool isIdle() const { return m_idle; }
    // Ends the connection; a sender that has written meanwhile sees it
    // closed without an acknowledgement.
    void drop() { refuse(); }

private:
    void refuse();

    int m_fd;
    Clock::duration m_blobTime;
    Clock::duration m_idleTime;
    Clock::time_point m_deadline;
    State m_state = State::Header;
    bool m_idle = false;
    unsigned char m_header[kHeaderSize];
    std::size_t m_headerRead = 0;
    char* m_blob = nullptr;
    std::size_t m_length = 0;
    std::size_t m_bodyRead = 0;
};

} // namespace StreamTransport
