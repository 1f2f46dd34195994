// TesselTalk against a private message bus, in one run, on one machine load:
//
//   one-shot   "tt send SPEC TEXT --wait 5" to an echoing TesselTalk peer
//              against "dbus-send --print-reply" to an echoing sd-bus service
//   round trip a ping from this running process to the peer's messaging
//              thread against an sd-bus method call from this process
//
// Everything runs in a temporary folder (on /dev/shm where there is one):
// the HOME and XDG folders of the TesselTalk peer and a dbus-daemon
// listening on a Unix socket there. Both echo peers wait on their
// connection between messages. The two sides take turns going first, round
// by round. Prints min/median/max of each and the ratios TesselTalk / bus.
//
//   bus_compare_bench [ROUNDS]      (default 30)
//
// The same program is the two echo peers, chosen by its first argument.
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "TesselTalk.h"
#include "TesselTalkThread.h"
#include "TesselTalkUtils.h"

using Clock = std::chrono::steady_clock;
using namespace ScObjects;

namespace {

const char* const kBusName = "com.corvane.BenchEcho";
const char* const kBusPath = "/com/corvane/BenchEcho";
const char* const kPeerSpec = "benchecho";
volatile sig_atomic_t gStop = 0;

// The sd-bus echo service: Echo(s) returns its argument.
int echoMethod(sd_bus_message* call, void*, sd_bus_error*)
{
    const char* text = nullptr;
    const int r = sd_bus_message_read(call, "s", &text);
    return r < 0 ? r : sd_bus_reply_method_return(call, "s", text);
}

const sd_bus_vtable kEchoVtable[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("Echo", "s", "s", echoMethod, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END,
};

sd_bus* openBus(const std::string& address)
{
    sd_bus* bus = nullptr;
    if (sd_bus_new(&bus) < 0 || sd_bus_set_address(bus, address.c_str()) < 0 || sd_bus_set_bus_client(bus, 1) < 0
        || sd_bus_start(bus) < 0) {
        std::fprintf(stderr, "bus_compare_bench: cannot connect to %s\n", address.c_str());
        std::exit(1);
    }
    return bus;
}

int serveBus(const std::string& address)
{
    sd_bus* bus = openBus(address);
    if (sd_bus_add_object_vtable(bus, nullptr, kBusPath, kBusName, kEchoVtable, nullptr) < 0
        || sd_bus_request_name(bus, kBusName, 0) < 0)
        return 1;
    while (!gStop) {
        const int r = sd_bus_process(bus, nullptr);
        if (r < 0)
            break;
        if (r == 0 && sd_bus_wait(bus, UINT64_MAX) < 0 && !gStop)
            break;
    }
    sd_bus_flush_close_unref(bus);
    return 0;
}

// The TesselTalk echo peer: answers every request with its body. Between
// pumps it waits on its endpoint, as the sd-bus service waits on its bus
// connection and as an application's event loop watches the endpoint.
class Echo : public TesselTalk::MsgHandler {
public:
    long handleMessage(int kind, TesselTalk::Message& message, SoString* result) override
    {
        if ((kind == kRequest || kind == kUser) && result)
            *result = message.getBody();
        return 0;
    }
};

int serveTalk()
{
    TesselTalkThread::install();
    if (TesselTalk::TesselTalk::InitTerm::init(SoString(kPeerSpec), true) != 1)
        return 1;
    auto* tt = new TesselTalk::TesselTalk(kPeerSpec, new Echo, true);
    while (!gStop) {
        TesselTalk::TesselTalk::pump(TesselTalk::TesselTalk::kBoth);
        tt->waitForIncoming(100);
    }
    delete tt;
    TesselTalk::TesselTalk::InitTerm::exit();
    return 0;
}

// posix_spawn rather than fork: copying this process (its threads, its bus
// connection) would cost more than the programs being timed and hide the
// difference between them.
pid_t spawn(const std::vector<std::string>& args, bool quiet)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (quiet) {
        posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    }
    std::vector<char*> argv;
    for (const std::string& arg : args)
        argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    pid_t child = -1;
    if (posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), environ) != 0)
        child = -1;
    posix_spawn_file_actions_destroy(&actions);
    return child;
}

// Runs the program to its end; its wall time in microseconds, or -1 when it
// failed (a failure makes the figures meaningless, so the caller stops).
double timeProgram(const std::vector<std::string>& args)
{
    const auto start = Clock::now();
    const pid_t child = spawn(args, true);
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) < 0)
        return -1;
    const double us = std::chrono::duration<double, std::micro>(Clock::now() - start).count();
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? us : -1;
}

struct Series {
    const char* label;
    std::vector<double> us;
    double median() const
    {
        std::vector<double> sorted(us);
        std::sort(sorted.begin(), sorted.end());
        return sorted[sorted.size() / 2];
    }
    double min() const { return *std::min_element(us.begin(), us.end()); }
    double max() const { return *std::max_element(us.begin(), us.end()); }
    void print() const
    {
        std::printf("%-34s min %10.1f  median %10.1f  max %10.1f us\n", label, min(), median(), max());
    }
};

void compare(const Series& ours, const Series& bus, double target)
{
    ours.print();
    bus.print();
    const double ratio = ours.median() / bus.median();
    std::printf("  ratio min %.2f  median %.2f  (target <= %.1f: %s)\n\n", ours.min() / bus.min(), ratio, target,
        ratio <= target ? "met" : "missed");
}

// The program's full path, looked up once before anything is timed: a
// search of PATH on every start would charge the bus side for the failed
// execs on the way, which tt, started by its full path, never pays.
std::string onPath(const char* program)
{
    const char* path = std::getenv("PATH");
    std::string folders = path ? path : "/usr/bin:/bin";
    for (std::size_t start = 0; start <= folders.size();) {
        std::size_t end = folders.find(':', start);
        if (end == std::string::npos)
            end = folders.size();
        const std::string candidate = folders.substr(start, end - start) + "/" + program;
        if (end > start && ::access(candidate.c_str(), X_OK) == 0)
            return candidate;
        start = end + 1;
    }
    return program;
}

bool waitFor(const std::string& path)
{
    for (int i = 0; i < 500; ++i) {
        if (std::filesystem::exists(path))
            return true;
        usleep(10000);
    }
    return false;
}

void stopChild(pid_t child)
{
    if (child > 0) {
        kill(child, SIGTERM);
        waitpid(child, nullptr, 0);
    }
}

int run(const std::string& self, int rounds)
{
    // A login session's runtime folder is a tmpfs (/run/user/UID); where
    // /dev/shm is one too, the endpoints live there as they would for a user,
    // rather than on the disk's file system.
    std::string pattern = std::filesystem::is_directory("/dev/shm") ? "/dev/shm/ttbusbench.XXXXXX" : "/tmp/ttbusbench.XXXXXX";
    if (!mkdtemp(pattern.data()))
        return 1;
    const std::string root = pattern;
    for (const char* sub : {"/home", "/data", "/sys", "/config", "/run"})
        mkdir((root + sub).c_str(), 0700);
    setenv("HOME", (root + "/home").c_str(), 1);
    setenv("XDG_DATA_HOME", (root + "/data").c_str(), 1);
    setenv("XDG_DATA_DIRS", (root + "/sys").c_str(), 1);
    setenv("XDG_CONFIG_HOME", (root + "/config").c_str(), 1);
    setenv("XDG_RUNTIME_DIR", (root + "/run").c_str(), 1);
    const std::string busSocket = root + "/bus";
    const std::string address = "unix:path=" + busSocket;

    const pid_t daemon = spawn({"dbus-daemon", "--session", "--nofork", "--nopidfile", "--address=" + address}, true);
    const bool busUp = waitFor(busSocket);
    const pid_t busEcho = busUp ? spawn({self, "--bus-echo", address}, false) : -1;
    const pid_t talkEcho = spawn({self, "--talk-echo"}, false);

    TesselTalkThread::install();
    int status = 1;
    if (busUp && TesselTalk::TesselTalk::InitTerm::init(SoString("busbench"), true) == 1) {
        sd_bus* bus = openBus(address);
        // Both peers must answer before anything is timed.
        bool ready = false;
        for (int i = 0; i < 500 && !ready; ++i) {
            ready = sd_bus_call_method(bus, kBusName, kBusPath, kBusName, "Echo", nullptr, nullptr, "s", "x") >= 0
                && !TesselTalk::TesselTalk::Thread::ping(kPeerSpec, "STATUS", 1).isEmpty();
            if (!ready)
                usleep(10000);
        }
        Series ttSend{"tt send --wait (one-shot)", {}}, busSend{"dbus-send --print-reply (one-shot)", {}};
        Series ping{"ping round trip (running process)", {}}, call{"sd-bus call round trip", {}};
        // The floor of any one-shot tt: starting the program, no messaging.
        Series ttStart{"tt --help (process start only)", {}};
        const std::vector<std::string> ttArgs{TT_PATH, "send", kPeerSpec, "hello", "--wait", "5"};
        const std::vector<std::string> busArgs{onPath("dbus-send"), "--bus=" + address, "--print-reply", "--dest=" + std::string(kBusName),
            kBusPath, std::string(kBusName) + ".Echo", "string:hello"};
        bool failed = !ready;
        for (int round = 0; round < rounds && !failed; ++round) {
            const bool ttFirst = round % 2 == 0;
            const double first = timeProgram(ttFirst ? ttArgs : busArgs);
            const double second = timeProgram(ttFirst ? busArgs : ttArgs);
            const double a = ttFirst ? first : second;
            const double b = ttFirst ? second : first;
            const double e = timeProgram({TT_PATH, "--help"});
            // The peer's messaging thread also makes a pass every pump
            // interval; rounds of nearly equal length would always meet that
            // cycle at the same phase, so each ping starts at a random moment.
            usleep(useconds_t(std::rand() % int(TesselTalkThread::kPumpMs * 1000)));
            // The two round trips take turns going first, so that neither
            // always meets the machine just woken from the pause.
            SoString answer;
            bool called = false;
            double c = 0, d = 0;
            auto pingPeer = [&] {
                const auto start = Clock::now();
                answer = TesselTalk::TesselTalk::Thread::ping(kPeerSpec, "STATUS", 5);
                c = std::chrono::duration<double, std::micro>(Clock::now() - start).count();
            };
            auto callBus = [&] {
                const auto start = Clock::now();
                sd_bus_message* reply = nullptr;
                const char* echoed = nullptr;
                called = sd_bus_call_method(bus, kBusName, kBusPath, kBusName, "Echo", nullptr, &reply, "s", "hello") >= 0
                    && sd_bus_message_read(reply, "s", &echoed) >= 0 && std::strcmp(echoed, "hello") == 0;
                d = std::chrono::duration<double, std::micro>(Clock::now() - start).count();
                sd_bus_message_unref(reply);
            };
            if (round % 2) {
                callBus();
                pingPeer();
            } else {
                pingPeer();
                callBus();
            }
            failed = a < 0 || b < 0 || e < 0 || answer.isEmpty() || !called;
            ttSend.us.push_back(a);
            busSend.us.push_back(b);
            ttStart.us.push_back(e);
            ping.us.push_back(c);
            call.us.push_back(d);
        }
        sd_bus_flush_close_unref(bus);
        TesselTalk::TesselTalk::InitTerm::exit();
        if (failed) {
            std::fprintf(stderr, "bus_compare_bench: a peer did not answer; no figures\n");
        } else {
            std::printf("%d rounds, times per exchange\n\n", rounds);
            compare(ttSend, busSend, 0.5);
            ttStart.print();
            std::printf("  ratio to dbus-send min %.2f  median %.2f\n\n", ttStart.min() / busSend.min(),
                ttStart.median() / busSend.median());
            compare(ping, call, 1.0);
            status = 0;
        }
    } else {
        std::fprintf(stderr, "bus_compare_bench: cannot start the bus or messaging\n");
    }
    stopChild(talkEcho);
    stopChild(busEcho);
    stopChild(daemon);
    std::filesystem::remove_all(root);
    return status;
}

} // namespace

int main(int argc, char** argv)
{
    signal(SIGTERM, [](int) { gStop = 1; });
    if (argc == 3 && std::strcmp(argv[1], "--bus-echo") == 0)
        return serveBus(argv[2]);
    if (argc == 2 && std::strcmp(argv[1], "--talk-echo") == 0)
        return serveTalk();
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 30;
    if (argc > 2 || rounds < 1) {
        std::fprintf(stderr, "Usage: bus_compare_bench [ROUNDS]\n");
        return 64;
    }
    return run("/proc/self/exe", rounds);
}
