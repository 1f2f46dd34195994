// The tt tool, run as a program in a private messaging world.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "ConnectorConfig.h"
#include "TTConnectorAppInfo.h"
#include "TemporaryUserFolders.h"

namespace {

class TtTool : public testing::Test {
protected:
    void SetUp() override
    {
        m_root = makeTemporaryUserFolders("tttool");
        ASSERT_FALSE(m_root.empty());
    }
    void TearDown() override
    {
        if (m_listener > 0) {
            kill(m_listener, SIGTERM);
            waitpid(m_listener, nullptr, 0);
        }
        std::filesystem::remove_all(m_root);
    }
    // Runs tt with args; its status, and its standard output in out.
    int run(const std::string& args, std::string* out = nullptr)
    {
        const std::string command = std::string(TT_PATH) + " " + args + " 2>" + m_root + "/err";
        FILE* pipe = popen(command.c_str(), "r");
        std::string text;
        char buffer[4096];
        for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
            text.append(buffer, n);
        const int status = pclose(pipe);
        if (out)
            *out = text;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    std::string error() const
    {
        std::ifstream in(m_root + "/err");
        std::stringstream text;
        text << in.rdbuf();
        return text.str();
    }

    // Starts the answering peer as spec and waits until it serves.
    void startPeer(const std::string& spec)
    {
        const std::string out = m_root + "/" + spec + ".out";
        m_listener = fork();
        if (m_listener == 0) {
            execl(TT_PEER_PATH, TT_PEER_PATH, "serve", spec.c_str(), out.c_str(), static_cast<char*>(nullptr));
            _exit(127);
        }
        ASSERT_TRUE(waitForLine(out, "ready ")) << spec << " did not come up";
    }
    bool waitForLine(const std::string& path, const std::string& prefix, std::string* line = nullptr) const
    {
        for (int i = 0; i < 200; ++i) {
            std::ifstream in(path);
            for (std::string text; std::getline(in, text);) {
                if (text.rfind(prefix, 0) == 0) {
                    if (line)
                        *line = text;
                    return true;
                }
            }
            usleep(50000);
        }
        return false;
    }

    std::string m_root;
    pid_t m_listener = 0;
};

} // namespace

TEST_F(TtTool, HelpAndBadArgumentsAreToldApart)
{
    std::string out;
    EXPECT_EQ(run("--help", &out), 0);
    EXPECT_NE(out.find("tt send SPEC TEXT"), std::string::npos);
    for (const char* verb : {"ping", "send", "listen", "apps", "register", "unregister", "diag", "config"}) {
        EXPECT_EQ(run(std::string(verb) + " --help", &out), 0) << verb;
        EXPECT_EQ(out.rfind(std::string("Usage: tt ") + verb, 0), 0u) << out;
    }
    EXPECT_EQ(run("frobnicate"), 64);
    EXPECT_NE(error().find("unknown verb 'frobnicate'"), std::string::npos);
    EXPECT_EQ(run("send only-a-spec"), 64);
    EXPECT_EQ(run("send a b --wait soon"), 64);
    EXPECT_NE(error().find("'soon'"), std::string::npos);
    EXPECT_EQ(run("register " + m_root + "/missing.xml"), 1);
    EXPECT_NE(error().find("cannot read"), std::string::npos);
}

TEST_F(TtTool, RegisteredApplicationIsListedAndRemoved)
{
    const std::string file = m_root + "/viewer.xml";
    {
        ScObjects::TTConnectorAppInfo info(ScObjects::SoString("viewer-2.0"));
        info.path = "/opt/viewer/bin/viewer";
        const ScObjects::SoString text = ScObjects::ConnectorConfig::writeAppConfig(info, {}, true);
        std::ofstream out(file);
        out << text.c_str();
    }
    std::string out;
    ASSERT_EQ(run("register " + file), 0) << error();
    ASSERT_EQ(run("apps", &out), 0);
    EXPECT_NE(out.find("viewer-2.0\t/opt/viewer/bin/viewer"), std::string::npos) << out;
    ASSERT_EQ(run("config viewer-2.0", &out), 0);
    EXPECT_NE(out.find("viewer-2.0"), std::string::npos) << out;
    EXPECT_EQ(run("unregister viewer-2.0"), 0);
    EXPECT_EQ(run("unregister viewer-2.0"), 1);
    ASSERT_EQ(run("apps", &out), 0);
    EXPECT_EQ(out.find("viewer-2.0"), std::string::npos) << out;
}

TEST_F(TtTool, SendPingAndDiagReachAListener)
{
    EXPECT_EQ(run("ping nobody-1.0"), 2);
    EXPECT_EQ(run("send nobody-1.0 hello"), 2);
    EXPECT_NE(error().find("not running"), std::string::npos);

    const std::string heard = m_root + "/heard";
    m_listener = fork();
    if (m_listener == 0) {
        freopen(heard.c_str(), "w", stdout);
        execl(TT_PATH, TT_PATH, "listen", "listener-1.0", static_cast<char*>(nullptr));
        _exit(127);
    }
    std::string out;
    for (int i = 0; i < 100 && run("ping listener-1.0", &out) != 0; ++i)
        usleep(100000);
    EXPECT_EQ(out, "IDLE\n");
    EXPECT_EQ(run("send listener-1.0 hello --wait 5"), 0) << error();
    ASSERT_EQ(run("diag listener-1.0 thread", &out), 0);
    EXPECT_NE(out.find("/thread;1;Specifier;listener-1.0#thread;"), std::string::npos) << out;
    std::ifstream in(heard);
    std::stringstream text;
    text << in.rdbuf();
    EXPECT_NE(text.str().find(": hello"), std::string::npos) << text.str();
}

// What tt send makes of each kind of answer, and of arguments it must refuse
// before touching the messaging system.
TEST_F(TtTool, SendReportsEachKindOfAnswer)
{
    startPeer("echoer-1.0");
    struct Row {
        const char* args;
        int status;
        const char* out;
        const char* error;
    };
    const Row rows[] = {
        {"send echoer-1.0 hello --wait 5", 0, "echo:hello\n", ""},
        {"send echoer-1.0 --wait 5 'two words'", 0, "echo:two words\n", ""},
        {"send echoer-1.0 hello", 0, "", ""},
        {"send echoer-1.0 fail --wait 5", 1, "", "error 7: failed"},
        {"send nobody-1.0 hello --wait 5", 2, "", "nobody-1.0 is not running"},
        {"send echoer-1.0", 64, "", "send needs SPEC and TEXT"},
        {"send echoer-1.0 a b", 64, "", "send needs SPEC and TEXT"},
        {"send echoer-1.0 hello --wait 0", 64, "", "--wait needs a positive number of seconds, not '0'"},
        {"send echoer-1.0 hello --wait 2s", 64, "", "not '2s'"},
        {"send echoer-1.0 hello --later", 64, "", "send does not know --later"},
        // Last: the peer answers, then stops pumping for longer than the next wait.
        {"send echoer-1.0 'block 2500' --wait 5", 0, "echo:block 2500\n", ""},
        {"send echoer-1.0 late --wait 1", 3, "", "no answer from echoer-1.0 within 1 s"},
    };
    for (const Row& row : rows) {
        if (std::string(row.args) == "send echoer-1.0 late --wait 1") {
            // Sent while the peer still finishes its pump, the message would
            // be answered at once: wait until the peer says it is busy.
            std::string status;
            for (int i = 0; i < 40 && status != "BUSY\n"; ++i) {
                ::usleep(50000);
                run("ping echoer-1.0", &status);
            }
            ASSERT_EQ(status, "BUSY\n");
        }
        std::string out;
        EXPECT_EQ(run(row.args, &out), row.status) << row.args << ": " << error();
        EXPECT_EQ(out, row.out) << row.args;
        EXPECT_NE(error().find(row.error), std::string::npos) << row.args << ": " << error();
    }
}

TEST_F(TtTool, SendLaunchesARegisteredApplicationAndGetsItsAnswer)
{
    const std::string out = m_root + "/launched.out";
    setenv("TT_PEER_SPEC", "launched-1.0", 1);
    setenv("TT_PEER_OUT", out.c_str(), 1);
    const std::string file = m_root + "/launched.xml";
    {
        ScObjects::TTConnectorAppInfo info(ScObjects::SoString("launched-1.0"));
        info.path = TT_PEER_PATH;
        const ScObjects::SoString text = ScObjects::ConnectorConfig::writeAppConfig(info, {}, true);
        std::ofstream config(file);
        config << text.c_str();
    }
    ASSERT_EQ(run("register " + file), 0) << error();
    EXPECT_EQ(run("send launched-1.0 hello --wait 5"), 2) << "not launched without --launch";
    // Into a file: the launched peer inherits tt's output and would hold a
    // pipe open after tt ends.
    const std::string answer = m_root + "/answer";
    EXPECT_EQ(run("send launched-1.0 hello --wait 20 --launch >" + answer), 0) << error();
    std::string line;
    EXPECT_TRUE(waitForLine(answer, "echo:hello", &line)) << line;
    std::string started;
    ASSERT_TRUE(waitForLine(out, "started ", &started));
    kill(std::atoi(started.c_str() + 8), SIGKILL);
    unsetenv("TT_PEER_SPEC");
    unsetenv("TT_PEER_OUT");
}
