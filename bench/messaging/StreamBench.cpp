// One blob from one thread to another, through InterAppStream and through a
// plain Unix-socket client/server pair doing the same work: a connection per
// blob, a 12-byte length header, the bytes, a one-byte acknowledgement, the
// receiver holding the whole blob. Each round is timed from the start of the
// send until the receiving thread has the blob in hand; the two sides take
// turns so that both see the same machine load. Prints min/median/max per
// blob and the ratio of the stream to the plain pair.
#include <poll.h>
#include <sched.h>
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

Stats stats(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return {v.front(), v[v.size() / 2], v.back()};
}

} // namespace

int main()
{
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

    std::printf("%-8s %-14s %10s %10s %10s   (microseconds per blob)\n", "blob", "through", "min", "median", "max");
    bool allOk = true;
    const struct {
        const char* label;
        std::size_t size;
        int rounds;
    } sizes[] = {{"100 B", 100, 2000}, {"64 KiB", 64 << 10, 500}, {"16 MiB", 16 << 20, 30}};
    for (const auto& size : sizes) {
        const std::string blob(size.size, 'x');
        const SoString text(blob.data(), long(blob.size()));
        std::vector<double> ours, theirs;
        for (int round = 0; round < size.rounds; ++round) {
            auto start = Clock::now();
            long target = gReceived.load() + long(size.size);
            allOk &= sender.send("bench-receiver", text);
            waitReceived(target);
            ours.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());

            start = Clock::now();
            target = gReceived.load() + long(size.size);
            allOk &= plainSend(address, blob);
            waitReceived(target);
            theirs.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
        }
        const Stats a = stats(ours), b = stats(theirs);
        std::printf("%-8s %-14s %10.1f %10.1f %10.1f\n", size.label, "InterAppStream", a.min, a.median, a.max);
        std::printf("%-8s %-14s %10.1f %10.1f %10.1f\n", size.label, "plain pair", b.min, b.median, b.max);
        std::printf("%-8s %-14s %10.2f %10.2f %10.2f\n", size.label, "ratio", a.min / b.min, a.median / b.median,
            a.max / b.max);
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
