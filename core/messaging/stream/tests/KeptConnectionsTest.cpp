#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "KeptConnections.h"

using namespace StreamTransport;

namespace {

bool isOpen(int fd)
{
    return ::fcntl(fd, F_GETFD) != -1;
}

int freshDescriptor()
{
    return ::open("/dev/null", O_RDONLY | O_CLOEXEC);
}

// The descriptor kept for key, -1 when none; the connection is taken out.
int take(const std::string& key, bool* confirmed = nullptr)
{
    KeptConnection kept;
    if (!takeKeptConnection(key, kept))
        return -1;
    if (confirmed)
        *confirmed = kept.confirmed;
    return kept.fd;
}

} // namespace

TEST(KeptConnections, OnePerEndpointHandedOutOnceAndTheOldestMakesRoom)
{
    closeKeptConnections();
    const int first = freshDescriptor();
    keepConnection("a", {first, true});
    const int twin = freshDescriptor();
    keepConnection("a", {twin, false});
    EXPECT_FALSE(isOpen(twin)) << "a second connection to one endpoint is closed, not kept";
    bool confirmed = false;
    EXPECT_EQ(take("a", &confirmed), first);
    EXPECT_TRUE(confirmed);
    EXPECT_EQ(take("a"), -1);

    std::vector<int> fds;
    for (std::size_t i = 0; i <= kMaxKeptConnections; ++i) {
        fds.push_back(freshDescriptor());
        keepConnection("e" + std::to_string(i), {fds.back(), false});
    }
    EXPECT_FALSE(isOpen(fds[0])) << "the one kept longest went";
    EXPECT_EQ(take("e0"), -1);
    EXPECT_EQ(take("e1", &confirmed), fds[1]);
    EXPECT_FALSE(confirmed);
    closeKeptConnections();
    for (std::size_t i = 2; i < fds.size(); ++i)
        EXPECT_FALSE(isOpen(fds[i]));
    ::close(first);
    ::close(fds[1]);
}

TEST(KeptConnections, KeyFollowsTheRuntimeDirectoryAndAForkedChildStartsWithNone)
{
    const char* old = ::getenv("XDG_RUNTIME_DIR");
    const std::string saved = old ? old : "";
    ::setenv("XDG_RUNTIME_DIR", "/run/one", 1);
    const std::string one = keptConnectionKey("port");
    ::setenv("XDG_RUNTIME_DIR", "/run/two", 1);
    EXPECT_NE(keptConnectionKey("port"), one);
    EXPECT_NE(keptConnectionKey("other"), keptConnectionKey("port"));
    if (old)
        ::setenv("XDG_RUNTIME_DIR", saved.c_str(), 1);
    else
        ::unsetenv("XDG_RUNTIME_DIR");

    const int fd = freshDescriptor();
    keepConnection("shared", {fd, true});
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(take("shared") == -1 && !isOpen(fd) ? 0 : 1);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_EQ(take("shared"), fd) << "the parent keeps its own";
    ::close(fd);
}
