// A second process for the stream tests. Reports on stdout, one line each.
//
//   stream_peer hold <name>             takes the name through the factory,
//                                       prints the name it got (or "none"),
//                                       serves senders until stdin closes
//   stream_peer send <target> <bytes>   sends a patterned blob; prints ok/fail
//   stream_peer sendhold <target> <bytes>
//                                       the same from "stream-peer", which it
//                                       then serves until stdin closes
//   stream_peer raw <socket> <mode> [--as-nobody]
//                                       talks to a socket path directly:
//        valid    a well-formed 64-byte blob
//        garbage  bytes that are no header
//        huge     a header claiming 4 GiB, then bytes
//        silent   nothing at all
//        halfway  half a blob, then close
//        stall    half a blob, then wait for the receiver to give up
//      prints "acked", "refused", or for stall "dropped <ms>"
#include <errno.h>
#include <poll.h>
#include <pwd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "BlobFraming.h"
#include "InterAppStream.h"
#include "StreamPattern.h"

namespace {

// Serves stream until stdin closes.
int serve(InterAppStream* stream)
{
    for (;;) {
        pollfd in{STDIN_FILENO, POLLIN, 0};
        if (::poll(&in, 1, 5) > 0) {
            char c;
            if (::read(STDIN_FILENO, &c, 1) <= 0)
                return 0;
        }
        if (stream && stream->messagePending()) {
            while (stream->receive()) {
            }
            stream->getMessages();
        }
    }
}

int hold(const char* name)
{
    std::unique_ptr<InterAppStream> stream(ScObjects::TesselTalkUtils::createNextAvailableInterAppStream(name));
    std::printf("%s\n", stream ? stream->name().c_str() : "none");
    std::fflush(stdout);
    return serve(stream.get());
}

// Sends from its own endpoint without polling it, reports, then serves.
int sendThenHold(const char* target, long bytes)
{
    std::unique_ptr<InterAppStream> stream(ScObjects::TesselTalkUtils::createNextAvailableInterAppStream("stream-peer"));
    const std::string blob = streamPattern(std::size_t(bytes));
    const bool ok = stream && stream->send(target, ScObjects::SoString(blob.data(), long(blob.size())));
    std::printf("%s\n", ok ? "ok" : "fail");
    return serve(stream.get());
}

int send(const char* target, long bytes)
{
    std::unique_ptr<InterAppStream> stream(ScObjects::TesselTalkUtils::createNextAvailableInterAppStream("stream-peer"));
    const std::string blob = streamPattern(std::size_t(bytes));
    const bool ok = stream
        && stream->send(target, ScObjects::SoString(blob.data(), long(blob.size())));
    std::printf("%s\n", ok ? "ok" : "fail");
    return ok ? 0 : 1;
}

bool dropToNobody()
{
    const passwd* nobody = ::getpwnam("nobody");
    return nobody && ::setgid(nobody->pw_gid) == 0 && ::setuid(nobody->pw_uid) == 0;
}

int raw(const char* path, const std::string& mode)
{
    using namespace StreamTransport;
    const int fd = connectEndpoint(path, Clock::now() + std::chrono::seconds(5));
    if (fd < 0) {
        std::printf("refused\n");
        return 0;
    }
    std::vector<unsigned char> out(kHeaderSize);
    encodeHeader(mode == "huge" ? std::uint64_t(4) << 30 : 64, out.data());
    if (mode == "garbage")
        std::memcpy(out.data(), "GET / HTTP/1.0\r\n", kHeaderSize);
    const std::string body = streamPattern(64);
    out.insert(out.end(), body.begin(), body.end());
    if (mode == "silent")
        out.clear();
    if (mode == "halfway" || mode == "stall")
        out.resize(kHeaderSize + 32);
    if (!out.empty())
        (void)::send(fd, out.data(), out.size(), MSG_NOSIGNAL);
    if (mode == "halfway")
        ::shutdown(fd, SHUT_WR);

    const auto start = Clock::now();
    pollfd p{fd, POLLIN, 0};
    char answer = 0;
    const bool answered = ::poll(&p, 1, 30000) > 0 && ::recv(fd, &answer, 1, 0) == 1;
    const long ms = long(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count());
    ::close(fd);
    if (answered && answer == char(kAck))
        std::printf("acked\n");
    else if (mode == "stall")
        std::printf("dropped %ld\n", ms);
    else
        std::printf("refused\n");
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const std::string command = argc > 1 ? argv[1] : "";
    if (command == "hold" && argc == 3)
        return hold(argv[2]);
    if (command == "send" && argc == 4)
        return send(argv[2], std::atol(argv[3]));
    if (command == "sendhold" && argc == 4)
        return sendThenHold(argv[2], std::atol(argv[3]));
    if (command == "raw" && (argc == 4 || argc == 5)) {
        if (argc == 5 && (std::strcmp(argv[4], "--as-nobody") != 0 || !dropToNobody())) {
            std::printf("cannot drop privileges\n");
            return 2;
        }
        return raw(argv[2], argv[3]);
    }
    std::fprintf(stderr, "usage: stream_peer hold|send|raw ...\n");
    return 2;
}
