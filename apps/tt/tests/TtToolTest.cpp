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

namespace {

class TtTool : public testing::Test {
protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/tttool.XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        m_root = pattern;
        for (const char* sub : {"/home", "/data", "/sys", "/run"})
            ASSERT_EQ(mkdir((m_root + sub).c_str(), 0700), 0);
        setenv("HOME", (m_root + "/home").c_str(), 1);
        setenv("XDG_DATA_HOME", (m_root + "/data").c_str(), 1);
        setenv("XDG_DATA_DIRS", (m_root + "/sys").c_str(), 1);
        setenv("XDG_RUNTIME_DIR", (m_root + "/run").c_str(), 1);
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
