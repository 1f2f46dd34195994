#include "TesselPeer.h"

#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "Specifier.h"
#include "TesselTalkConnector.h"
#include "TemporaryUserFolders.h"

void TesselPeer::setUp()
{
    m_root = makeTemporaryUserFolders("tesselpeer");
    ASSERT_FALSE(m_root.empty());
    // What a peer launched by the messaging system serves and where it writes.
    m_launchedOut = m_root + "/launched.out";
    setenv("TT_PEER_SPEC", "tessel-1.0", 1);
    setenv("TT_PEER_OUT", m_launchedOut.c_str(), 1);
}

void TesselPeer::tearDown()
{
    for (pid_t child : m_children) {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
    // Launched peers are not our children: end them by the pids they wrote.
    for (const std::string& line : lines("started "))
        kill(std::atoi(line.c_str() + 8), SIGKILL);
    std::filesystem::remove_all(m_root);
}

void TesselPeer::registerTessel()
{
    using ScObjects::TesselTalkConnector;
    // A process without messaging of its own borrows a connector for it.
    const bool borrowed = !TesselTalkConnector::get();
    if (borrowed) {
        ASSERT_TRUE(TesselTalkConnector::InitTerm::init(ScObjects::SoString("default")));
    }
    EXPECT_TRUE(TesselTalkConnector::get()->registerApplication(
        ScObjects::TesselTalk::Specifier("tessel-1.0", false), TT_PEER_PATH, "Tessel", true));
    if (borrowed)
        TesselTalkConnector::InitTerm::exit();
}

pid_t TesselPeer::spawn(const std::vector<std::string>& args, bool silent)
{
    const pid_t child = fork();
    if (child == 0) {
        if (silent)
            setenv("TT_PEER_SILENT", "1", 1);
        std::vector<char*> argv;
        for (const std::string& arg : args)
            argv.push_back(const_cast<char*>(arg.c_str()));
        argv.push_back(nullptr);
        execv(TT_PEER_PATH, argv.data());
        _exit(127);
    }
    m_children.push_back(child);
    return child;
}

void TesselPeer::startTessel(bool silent)
{
    spawn({TT_PEER_PATH, "serve", "tessel-1.0", m_root + "/serve.out"}, silent);
    for (int i = 0; i < 200 && lines("ready ").empty(); ++i)
        usleep(50000);
    ASSERT_FALSE(lines("ready ").empty()) << "the Tessel peer did not come up";
}

void TesselPeer::tellTessel(const std::string& body)
{
    const pid_t child = spawn({TT_PEER_PATH, "send", "tessel-helper-1.0", "tessel", body}, false);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    m_children.pop_back();
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "could not hand over " << body;
}

std::vector<std::string> TesselPeer::lines(const char* prefix) const
{
    std::vector<std::string> found;
    for (const char* name : {"/serve.out", "/launched.out"}) {
        std::ifstream in(m_root + name);
        for (std::string line; std::getline(in, line);) {
            if (line.rfind(prefix, 0) == 0)
                found.push_back(line);
        }
    }
    return found;
}

std::vector<std::string> TesselPeer::handled() const
{
    std::vector<std::string> bodies;
    for (std::string line : lines("handled ")) {
        // Each line ends with " @" and the time it was written; a line
        // without it is still being written.
        const std::size_t end = line.rfind(" @");
        if (end != std::string::npos)
            bodies.push_back(line.substr(8, end - 8));
    }
    return bodies;
}

bool TesselPeer::waitHandled(std::size_t count, double seconds) const
{
    for (int i = 0; i < int(seconds * 20) && handled().size() < count; ++i)
        usleep(50000);
    return handled().size() >= count;
}

int TesselPeer::startedCount() const
{
    return int(lines("started ").size());
}
