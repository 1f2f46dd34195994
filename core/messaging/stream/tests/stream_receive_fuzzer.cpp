// Arbitrary bytes from a connected peer: the receiving side of a connection
// must end in one of its states without reading or writing out of bounds,
// and hand over exactly the announced length when it took a blob.
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>

#include "BlobFraming.h"
#include "SoHeap.h"

using namespace StreamTransport;

namespace {

// Takes the blob a connection holds and checks it against the frame that
// starts at at in the input; returns where the next frame starts.
std::size_t takeAndCheck(BlobConnection& connection, int peer, const uint8_t* data, size_t size, std::size_t at)
{
    std::uint64_t announced = 0;
    if (size - at < kHeaderSize || !decodeHeader(data + at, announced) || size - at - kHeaderSize < announced)
        __builtin_trap();
    std::size_t length = 0;
    char* blob = connection.takeBlob(length, Clock::now());
    if (length != announced || (length && std::memcmp(blob, data + at + kHeaderSize, length) != 0))
        __builtin_trap();
    ScObjects::SoHeap::freeHeap(blob);
    // Keep requests in the input between frames were answered first.
    char answer = char(kKeep);
    while (answer == char(kKeep)) {
        if (::recv(peer, &answer, 1, 0) != 1)
            __builtin_trap();
    }
    if (answer != char(kAck))
        __builtin_trap();
    if (connection.state() != BlobConnection::State::Header || !connection.isIdle())
        __builtin_trap();
    return at + kHeaderSize + length;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    int fds[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds) != 0)
        return 0;
    ::fcntl(fds[0], F_SETFL, O_NONBLOCK);
    ::fcntl(fds[1], F_SETFL, O_NONBLOCK);
    BlobConnection connection(fds[0], Clock::now(), std::chrono::seconds(30), std::chrono::seconds(30));
    // Delivered in slices of varying size, so that the header and the body
    // are split at every place; the first byte chooses the slicing. Frames
    // may follow each other on the one connection.
    const std::size_t step = size ? 1 + data[0] % 17 : 1;
    std::size_t frame = 0;
    for (std::size_t at = 0; at < size; at += step) {
        const std::size_t n = size - at < step ? size - at : step;
        // A connection that is over reads no more; the rest may not fit.
        if (::send(fds[1], data + at, n, MSG_NOSIGNAL) != ssize_t(n))
            break;
        connection.service(Clock::now());
        if (connection.state() == BlobConnection::State::Done)
            frame = takeAndCheck(connection, fds[1], data, size, frame);
    }
    ::shutdown(fds[1], SHUT_WR);
    connection.service(Clock::now());
    if (connection.state() == BlobConnection::State::Done) {
        takeAndCheck(connection, fds[1], data, size, frame);
        connection.service(Clock::now());
    }
    // The peer closed: the connection must be over.
    if (connection.state() != BlobConnection::State::Refused)
        __builtin_trap();
    ::close(fds[1]);
    return 0;
}
