// A private runtime directory per test, and a helper process to talk to.
#pragma once

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "EndpointPath.h"
#include "InterAppStream.h"

// Points XDG_RUNTIME_DIR at a fresh 0700 directory for the test and puts
// back what was there.
class StreamTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        const char* old = ::getenv("XDG_RUNTIME_DIR");
        m_hadOld = old != nullptr;
        if (old)
            m_old = old;
        char dir[] = "/tmp/tt-stream-XXXXXX";
        ASSERT_NE(::mkdtemp(dir), nullptr);
        m_runtime = dir;
        ::setenv("XDG_RUNTIME_DIR", dir, 1);
    }
    void TearDown() override
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_runtime, ignored);
        if (m_hadOld)
            ::setenv("XDG_RUNTIME_DIR", m_old.c_str(), 1);
        else
            ::unsetenv("XDG_RUNTIME_DIR");
    }
    std::string endpointDir() const { return m_runtime + "/tesseltalk"; }

    std::string m_runtime;

private:
    std::string m_old;
    bool m_hadOld = false;
};

// Where the stream named name keeps its socket, and whether its lock file
// is there.
inline std::string socketPath(const std::string& name)
{
    StreamTransport::EndpointPaths paths;
    EXPECT_TRUE(StreamTransport::endpointPaths("\\\\.\\port\\Quay_and_Mole_" + name, paths));
    return paths.socket;
}

inline bool lockFileExists(const std::string& name)
{
    StreamTransport::EndpointPaths paths;
    EXPECT_TRUE(StreamTransport::endpointPaths("\\\\.\\port\\Quay_and_Mole_" + name, paths));
    struct stat info;
    return ::lstat(paths.lock.c_str(), &info) == 0;
}

// Polls stream until it holds at least size bytes of text or the time is
// up, pausing between polls for pause (the messaging thread pumps every 100 ms).
inline std::string drain(InterAppStream& stream, std::size_t size, std::chrono::milliseconds limit,
    std::chrono::microseconds pause = std::chrono::milliseconds(1))
{
    std::string text;
    const auto end = std::chrono::steady_clock::now() + limit;
    while (text.size() < size && std::chrono::steady_clock::now() < end) {
        if (stream.messagePending()) {
            while (stream.receive()) {
            }
            const ScObjects::SoString got = stream.getMessages();
            text.append(got.c_str(), std::size_t(got.length()));
        } else {
            ::usleep(useconds_t(pause.count()));
        }
    }
    return text;
}

// The stream_peer program, run with the test's environment; stdin and
// stdout are pipes.
class PeerProcess {
public:
    explicit PeerProcess(std::vector<std::string> args)
    {
        // Everything the child needs is made before the fork: it only
        // duplicates descriptors and execs.
        static char program[] = STREAM_PEER_PATH;
        std::vector<char*> argv{program};
        for (std::string& a : args)
            argv.push_back(a.data());
        argv.push_back(nullptr);
        int in[2], out[2];
        if (::pipe2(in, O_CLOEXEC) != 0 || ::pipe2(out, O_CLOEXEC) != 0)
            return;
        m_pid = ::fork();
        if (m_pid == 0) {
            ::dup2(in[0], STDIN_FILENO);
            ::dup2(out[1], STDOUT_FILENO);
            ::execv(program, argv.data());
            ::_exit(127);
        }
        ::close(in[0]);
        ::close(out[1]);
        m_stdin = in[1];
        m_stdout = out[0];
    }
    ~PeerProcess()
    {
        closeStdin();
        if (m_pid > 0) {
            ::kill(m_pid, SIGKILL);
            wait();
        }
        if (m_stdout >= 0)
            ::close(m_stdout);
    }
    PeerProcess(const PeerProcess&) = delete;
    PeerProcess& operator=(const PeerProcess&) = delete;

    // The next line of output without its line feed; empty on time-out or end.
    std::string readLine(int timeoutMs = 20000)
    {
        std::string line;
        char c;
        while (true) {
            pollfd p{m_stdout, POLLIN, 0};
            if (::poll(&p, 1, timeoutMs) <= 0 || ::read(m_stdout, &c, 1) != 1 || c == '\n')
                return line;
            line += c;
        }
    }
    void closeStdin()
    {
        if (m_stdin >= 0)
            ::close(m_stdin);
        m_stdin = -1;
    }
    void killHard() { ::kill(m_pid, SIGKILL); }
    // Exit status, or -1 when it did not exit normally.
    int wait()
    {
        int status = 0;
        if (m_pid <= 0 || ::waitpid(m_pid, &status, 0) != m_pid)
            return -1;
        m_pid = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    pid_t m_pid = -1;
    int m_stdin = -1;
    int m_stdout = -1;
};
