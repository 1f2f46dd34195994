#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <thread>

#include "LaunchFixture.h"
#include "LaunchParams.h"
#include "Launcher.h"

using namespace ScObjects;
using namespace ScObjects::TesselTalkUtils;

namespace {

class LauncherTest : public LaunchFixture {
protected:
    void SetUp() override
    {
        LaunchFixture::SetUp();
        report = m_root + "/report";
        setenv("TT_MAILBOX", m_root.c_str(), 1);
        setenv("TT_REPORT", report.c_str(), 1);
    }
    void TearDown() override
    {
        unsetenv("TT_MAILBOX");
        unsetenv("TT_REPORT");
        LaunchFixture::TearDown();
    }

    // The helper's report as key/value pairs; empty when it did not come in time.
    std::map<std::string, std::string> waitForReport(int seconds)
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
        while (!std::filesystem::exists(report) && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        std::map<std::string, std::string> values;
        std::ifstream in(report);
        for (std::string line; std::getline(in, line);) {
            const std::size_t eq = line.find('=');
            if (eq != std::string::npos)
                values[line.substr(0, eq)] = line.substr(eq + 1);
        }
        return values;
    }

    void deliver(const TesselTalk::Message& message)
    {
        SoString text;
        ASSERT_EQ(message.writeToString(text), 1);
        ASSERT_TRUE(endpoints->leave(message.getTarget().c_str(), text.c_str()));
    }

    // The process is gone entirely: neither running nor left as a zombie.
    static bool vanishes(unsigned long pid)
    {
        for (int i = 0; i < 250 && std::filesystem::exists("/proc/" + std::to_string(pid)); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        return !std::filesystem::exists("/proc/" + std::to_string(pid));
    }

    const TesselTalk::Specifier spec{"helper-1.0", false};
    const SoString params{"-specifier helper-1.0 -nostartupscreen -instance 2"};
    std::string report;
};

} // namespace

TEST_F(LauncherTest, ParametersArriveAddressedToTheProcessIdentifier)
{
    // A descriptor of ours without close-on-exec, holding a lock the way an
    // endpoint does: the child must not inherit it.
    const int lock = ::open((report + ".lock").c_str(), O_RDWR | O_CREAT, 0600);
    ASSERT_GE(lock, 0);
    ASSERT_EQ(flock(lock, LOCK_EX), 0);

    unsigned long pid = 0;
    ASSERT_TRUE(Launcher::launch(spec, SoString(TT_LAUNCH_HELPER), &params, kFocusFront, &pid));
    ::close(lock);
    ASSERT_NE(pid, 0u);

    // Serials in the order the messages are prepared: queue 100, pid 101, script 102.
    ASSERT_EQ(host.queued.size(), 3u);
    const TesselTalk::Message& byQueue = *host.queued[0];
    const TesselTalk::Message& calligo = *host.queued[1];
    const TesselTalk::Message& byPid = *host.queued[2];
    EXPECT_EQ(byQueue.getType(), "LaunchParams");
    EXPECT_EQ(byQueue.getTarget(), "helper-1.0");
    EXPECT_EQ(byQueue.getSender(), "tester");
    EXPECT_EQ(byQueue.getTimeout(), 300u);
    EXPECT_EQ(byQueue.getBody(), params);
    EXPECT_EQ(calligo.getType(), "Calligo");
    EXPECT_EQ(calligo.getTarget(), "helper-1.0");
    EXPECT_EQ(calligo.getResponseRequest(), "Received");
    EXPECT_EQ(calligo.getBody(), "// LAUNCHPARAMS:tester\n// -specifier helper-1.0 -nostartupscreen -instance 2\n");
    EXPECT_EQ(byPid.getType(), "LaunchParams");
    EXPECT_EQ(byPid.getTarget(), ("helper#" + std::to_string(pid)).c_str());
    EXPECT_EQ(byPid.getBody(), params);
    EXPECT_EQ(host.watchList(), (std::vector<std::string>{"Timeout:102", "Received:102", "Received:101", "Timeout:101"}));

    deliver(byPid);
    std::map<std::string, std::string> values = waitForReport(10);
    EXPECT_EQ(values["params"], params.c_str());
    EXPECT_EQ(values["ok"], "1");
    EXPECT_EQ(values["fds"], "0,1,2");
    EXPECT_EQ(values["own_session"], "1");
    EXPECT_TRUE(vanishes(pid)) << "left a zombie or still running";
    EXPECT_FALSE(Launcher::isProcessRunning(pid));
    errno = 0;
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child of ours, running or a zombie";
    EXPECT_EQ(errno, ECHILD);
}

TEST_F(LauncherTest, ParametersArriveInTheLaunchQueueWhenThePidRouteStaysSilent)
{
    unsigned long pid = 0;
    ASSERT_TRUE(Launcher::launch(spec, SoString(TT_LAUNCH_HELPER), &params, kFocusBackground, &pid));
    ASSERT_EQ(host.queued.size(), 3u);
    deliver(*host.queued[0]);
    // The helper looks at its own port at 0, 4, 8 and 12 seconds first.
    std::map<std::string, std::string> values = waitForReport(30);
    EXPECT_EQ(values["params"], params.c_str());
    EXPECT_EQ(values["ok"], "1");
    EXPECT_TRUE(vanishes(pid));
}

TEST_F(LauncherTest, WithoutAnOfferTheChildStartsAtOnceWithoutParameters)
{
    host.name.clear(); // no main messaging object
    unsigned long pid = 0;
    const auto started = std::chrono::steady_clock::now();
    ASSERT_TRUE(Launcher::launch(spec, SoString(TT_LAUNCH_HELPER), &params, kFocusFront, &pid));
    std::map<std::string, std::string> values = waitForReport(10);
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(3));
    EXPECT_EQ(values["ok"], "1");
    EXPECT_EQ(values["params"], "");
    EXPECT_TRUE(host.queued.empty());
    EXPECT_TRUE(host.watches.empty());
    EXPECT_TRUE(vanishes(pid));
}

TEST_F(LauncherTest, FailedLaunchesReportNoProcess)
{
    const std::string notExecutable = report + ".txt";
    std::ofstream(notExecutable) << "text";
    const char* const paths[] = {"", "/nonexistent/program", notExecutable.c_str(), "/tmp"};
    for (const char* path : paths) {
        unsigned long pid = 77;
        EXPECT_FALSE(Launcher::launch(spec, SoString(path), nullptr, kFocusFront, &pid)) << path;
        EXPECT_EQ(pid, 0u) << path;
    }
    EXPECT_TRUE(host.queued.empty());
}

TEST_F(LauncherTest, ProcessChecksAndRaising)
{
    const unsigned long self = static_cast<unsigned long>(getpid());
    EXPECT_TRUE(Launcher::isProcessRunning(self));
    EXPECT_TRUE(Launcher::isProcessRunning(self, "/proc/self/exe"));
    EXPECT_FALSE(Launcher::isProcessRunning(self, "/bin/true"));
    EXPECT_FALSE(Launcher::isProcessRunning(0));
    EXPECT_FALSE(Launcher::isProcessRunning(1ul << 40));

    const pid_t zombie = fork();
    ASSERT_GE(zombie, 0);
    if (zombie == 0)
        _exit(0);
    for (int i = 0; i < 250 && Launcher::isProcessRunning(static_cast<unsigned long>(zombie)); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(Launcher::isProcessRunning(static_cast<unsigned long>(zombie))) << "a zombie does not run";
    waitpid(zombie, nullptr, 0);

    const BringToFrontResult mine = Launcher::bringToFront("/proc/self/exe", kSearchAll);
    EXPECT_TRUE(mine.found);
    EXPECT_FALSE(mine.raised);
    EXPECT_NE(std::string(mine.note.c_str()).find("not supported"), std::string::npos) << mine.note.c_str();
    // A program of its own that nothing runs (the helper may be running for
    // a test in another process).
    const std::string idle = report + ".idle";
    std::filesystem::copy_file("/bin/true", idle);
    const BringToFrontResult none = Launcher::bringToFront(idle.c_str(), kSearchAll);
    EXPECT_FALSE(none.found);
    EXPECT_FALSE(none.raised);
}

TEST(LaunchQueueName, AppnameAndVersionOnly)
{
    const std::pair<const char*, const char*> rows[] = {{"tessel_2-4.0-en_us#main", "tessel-4.0"},
        {"tessel-en_us", "tessel"}, {"tessel", "tessel"}, {"", ""}};
    for (const auto& row : rows)
        EXPECT_EQ(getLaunchQueueName(TesselTalk::Specifier(row.first, false)), row.second) << row.first;
}
