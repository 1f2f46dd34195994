// One blob from one thread to another, through InterAppStream and through a
// plain Unix-socket client/server pair doing the same work: a connection per
// blob, a 12-byte length header, the bytes, a one-byte acknowledgement once
// the receiver holds the whole blob. The two sides take turns so that both
// see the same machine load. Each round is timed twice from the start of the
// send: "delivered" ends when the sender has the acknowledgement, "in hand"
// when the receiving thread has the blob to use (for the stream: after
// receive and getMessages, which turn blobs into text). Prints min/median/max
// per blob and the ratios of the stream to the plain pair.
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "InterAppStream.h"

using Clock = std::chrono::steady_clock;
using ScObjects::SoString;

namespace {

std::atomic<long> gReceived{0};
std::atomic<bool> gStop{false};

bool readAll(int fd, char* into, std::size_t size)
{
    while (size) {
        const ssize_t n = ::read(fd, into, size);
        if (n <= 0)
            return false;
        into += n;
        size -= std::size_t(n);
    }
    return true;
}

// The plain pair's server: blocking accept, header, body into a fresh
// buffer, acknowledgement.
void plainServer(int listener)
{
    for (;;) {
        const int fd = ::accept(listener, nullptr, nullptr);
        if (fd < 0)
            return;
        if (gStop) {
            ::close(fd);
            return;
        }
        unsigned char header[12];
        if (readAll(fd, reinterpret_cast<char*>(header), 12)) {
            std::uint64_t length = 0;
            for (int i = 4; i < 12; ++i)
                length = (length << 8) | header[i];
            char* body = static_cast<char*>(::malloc(length ? length : 1));
            if (readAll(fd, body, length)) {
                const char ack = 6;
                (void)::write(fd, &ack, 1);
                gReceived += long(length);
            }
            ::free(body);
        }
        ::close(fd);
    }
}

bool plainSend(const sockaddr_un& address, const std::string& blob)
{
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        ::close(fd);
        return false;
    }
    unsigned char header[12] = {'T', 'T', 'B', '1'};
    for (int i = 0; i < 8; ++i)
        header[4 + i] = static_cast<unsigned char>(std::uint64_t(blob.size()) >> (56 - 8 * i));
    iovec parts[2] = {{header, 12}, {const_cast<char*>(blob.data()), blob.size()}};
    std::size_t left = 12 + blob.size();
    iovec* part = parts;
    int count = 2;
    while (left) {
        ssize_t n = ::writev(fd, part, count);
        if (n <= 0)
            break;
        left -= std::size_t(n);
        while (count && std::size_t(n) >= part->iov_len) {
            n -= ssize_t(part->iov_len);
            ++part;
            --count;
        }
        if (count) {
            part->iov_base = static_cast<char*>(part->iov_base) + n;
            part->iov_len -= std::size_t(n);
        }
    }
    char ack = 0;
    const bool ok = ::read(fd, &ack, 1) == 1 && ack == 6;
    ::close(fd);
    return ok;
}

// The stream's receiver, the way the messaging thread drives it but without
// its 100 ms pause.
void streamReceiver(InterAppStream* stream)
{
    while (!gStop) {
        if (stream->messagePending()) {
            while (stream->receive()) {
            }
            gReceived += stream->getMessages().length();
        } else {
            ::sched_yield();
        }
    }
}

void waitReceived(long target)
{
    while (gReceived.load() < target)
        ::sched_yield();
}

struct Stats {
    double min, median, max;
};

double microseconds(Clock::time_point from, Clock::time_point to)
{
    return std::chrono::duration<double, std::micro>(to - from).count();
}

Stats stats(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return {v.front(), v[v.size() / 2], v.back()};
}

} // namespace

int main()
{
    // The last, empty send to wake the plain server may find it gone.
    ::signal(SIGPIPE, SIG_IGN);
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    char runtime[] = "/tmp/tt-stream-bench-XXXXXX";
    if (!::mkdtemp(runtime))
        return 1;
    ::setenv("XDG_RUNTIME_DIR", runtime, 1);

    InterAppStream receiver("bench-receiver", false);
    InterAppStream sender("bench-sender", false);
    if (!receiver.isGood() || !sender.isGood())
        return 1;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "%s/plain.sock", runtime);
    const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0
        || ::listen(listener, SOMAXCONN) != 0)
        return 1;
    std::thread plain(plainServer, listener);
    std::thread stream(streamReceiver, &receiver);

    std::printf("%-7s %-10s %-15s %10s %10s %10s   (microseconds per blob)\n", "blob", "timed to", "through", "min",
        "median", "max");
    bool allOk = true;
    const struct {
        const char* label;
        std::size_t size;
        int rounds;
    } sizes[] = {{"100 B", 100, 2000}, {"64 KiB", 64 << 10, 500}, {"16 MiB", 16 << 20, 40}};
    for (const auto& size : sizes) {
        const std::string blob(size.size, 'x');
        const SoString text(blob.data(), long(blob.size()));
        // [0] delivered, [1] in hand; for the stream, then for the plain pair.
        std::vector<double> ours[2], theirs[2];
        for (int round = 0; round < size.rounds; ++round) {
            auto start = Clock::now();
            long target = gReceived.load() + long(size.size);
            allOk &= sender.send("bench-receiver", text);
            ours[0].push_back(microseconds(start, Clock::now()));
            waitReceived(target);
            ours[1].push_back(microseconds(start, Clock::now()));

            start = Clock::now();
            target = gReceived.load() + long(size.size);
            allOk &= plainSend(address, blob);
            theirs[0].push_back(microseconds(start, Clock::now()));
            waitReceived(target);
            theirs[1].push_back(microseconds(start, Clock::now()));
        }
        for (int timed = 0; timed < 2; ++timed) {
            const char* to = timed ? "in hand" : "delivered";
            const Stats a = stats(ours[timed]), b = stats(theirs[timed]);
            std::printf("%-7s %-10s %-15s %10.1f %10.1f %10.1f\n", size.label, to, "InterAppStream", a.min, a.median,
                a.max);
            std::printf("%-7s %-10s %-15s %10.1f %10.1f %10.1f\n", size.label, to, "plain pair", b.min, b.median, b.max);
            std::printf("%-7s %-10s %-15s %10.2f %10.2f %10.2f\n", size.label, to, "ratio", a.min / b.min,
                a.median / b.median, a.max / b.max);
        }
    }

    gStop = true;
    // Wakes the plain server out of accept.
    plainSend(address, "");
    ::close(listener);
    plain.join();
    stream.join();
    std::filesystem::remove_all(runtime);
    if (!allOk)
        std::printf("some blobs were not delivered\n");
    return allOk ? 0 : 1;
}
