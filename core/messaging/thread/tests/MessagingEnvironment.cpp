#include "MessagingEnvironment.h"

#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "EndpointPath.h"
#include "Specifier.h"
#include "TesselTalkConnector.h"
#include "TesselTalkThread.h"
#include "TemporaryUserFolders.h"

using namespace ScObjects;

void MessagingEnvironment::SetUp()
{
    m_root = makeTemporaryUserFolders("ttmsg");
    ASSERT_FALSE(m_root.empty());
    TesselTalkThread::install();
    ASSERT_EQ(TesselTalk::TesselTalk::InitTerm::init(SoString("ttsender-1.0"), true), 1);
    m_tt = new TesselTalk::TesselTalk("ttsender-1.0", new Recorder(&m_answers), true);
}

void MessagingEnvironment::TearDown()
{
    for (pid_t child : m_children) {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
    delete m_tt;
    TesselTalk::TesselTalk::InitTerm::exit();
    // Every endpoint of ours, kept ones included, went with the messaging
    // system: nothing of ours is left to be found by the next start.
    EXPECT_EQ(ourEndpointFiles("ttsender"), std::vector<std::string>());
    // Launched peers are not our children: end them by the pids they wrote.
    for (const auto& entry : std::filesystem::directory_iterator(m_root)) {
        if (entry.path().extension() != ".out")
            continue;
        for (const std::string& line : readLines(entry.path())) {
            if (line.rfind("started ", 0) == 0)
                kill(std::atoi(line.c_str() + 8), SIGKILL);
        }
    }
    std::filesystem::remove_all(m_root);
}

std::vector<std::string> MessagingEnvironment::ourEndpointFiles(const std::string& part)
{
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(StreamTransport::endpointDirectory(), error)) {
        const std::string name = entry.path().filename().string();
        if (name.find(part) != std::string::npos)
            names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

void MessagingEnvironment::registerPeer(const char* spec, const char* path)
{
    TesselTalkConnector* connector = TesselTalkConnector::get();
    ASSERT_NE(connector, nullptr);
    ASSERT_TRUE(connector->registerApplication(TesselTalk::Specifier(spec, false), path ? path : TT_PEER_PATH,
        "Peer", true));
}

pid_t MessagingEnvironment::spawn(const std::vector<std::string>& args)
{
    const pid_t child = fork();
    if (child == 0) {
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

pid_t MessagingEnvironment::startPeer(const char* spec, const std::string& out)
{
    const pid_t child = spawn({TT_PEER_PATH, "serve", spec, out});
    EXPECT_TRUE(waitForLine(out, "ready ")) << "peer " << spec << " did not come up";
    return child;
}

std::vector<std::string> MessagingEnvironment::readLines(const std::string& path)
{
    std::vector<std::string> lines;
    std::ifstream in(path);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

int MessagingEnvironment::countLines(const std::string& path, const std::string& prefix)
{
    int count = 0;
    for (const std::string& line : readLines(path))
        count += line.rfind(prefix, 0) == 0;
    return count;
}

bool MessagingEnvironment::waitForLine(const std::string& path, const std::string& prefix, double seconds)
{
    for (int i = 0; i < int(seconds * 20); ++i) {
        if (countLines(path, prefix) > 0)
            return true;
        usleep(50000);
    }
    return false;
}

bool MessagingEnvironment::hasAnswer(int kind, const std::string& body) const
{
    for (const Answer& answer : m_answers) {
        if (answer.kind == kind && (body.empty() || answer.body == body))
            return true;
    }
    return false;
}
