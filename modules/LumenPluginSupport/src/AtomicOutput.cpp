#include "AtomicOutput.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace lumen {

namespace {

std::string folderOf(const std::string& path)
{
    const auto slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::string hiddenSibling(const std::string& path, const std::string& suffix)
{
    const auto slash = path.rfind('/');
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    const std::string folder = slash == std::string::npos ? "" : path.substr(0, slash + 1);
    return folder + "." + name + suffix;
}

} // namespace

AtomicOutput::AtomicOutput(std::string target) : m_target(std::move(target)) {}

AtomicOutput::~AtomicOutput()
{
    if (m_fd >= 0)
        ::close(m_fd);
    if (!m_tempPath.empty())
        ::unlink(m_tempPath.c_str());
}

bool AtomicOutput::open(std::string& error)
{
    m_fd = ::open(folderOf(m_target).c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0644);
    if (m_fd >= 0)
        return true;
    if (errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL) {
        error = "cannot create the output in " + folderOf(m_target) + ": " + std::strerror(errno);
        return false;
    }
    std::string pattern = hiddenSibling(m_target, ".XXXXXX");
    m_fd = mkostemp(pattern.data(), O_CLOEXEC);
    if (m_fd < 0) {
        error = "cannot create the output " + pattern + ": " + std::strerror(errno);
        return false;
    }
    m_tempPath = pattern;
    fchmod(m_fd, 0644);
    return true;
}

bool AtomicOutput::commit(std::string& error)
{
    if (m_fd < 0) {
        error = "no output to commit";
        return false;
    }
    if (m_tempPath.empty()) {
        const std::string self = "/proc/self/fd/" + std::to_string(m_fd);
        if (::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, m_target.c_str(), AT_SYMLINK_FOLLOW) == 0)
            return true;
        if (errno != EEXIST) {
            error = "cannot name the output " + m_target + ": " + std::strerror(errno);
            return false;
        }
        // The target exists: link under a hidden name, then rename over it.
        for (int attempt = 0; attempt < 100; ++attempt) {
            const std::string temp = hiddenSibling(m_target, "." + std::to_string(getpid()) + "." +
                                                                 std::to_string(attempt));
            if (::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, temp.c_str(), AT_SYMLINK_FOLLOW) == 0) {
                m_tempPath = temp;
                break;
            }
            if (errno != EEXIST) {
                error = "cannot name the output " + temp + ": " + std::strerror(errno);
                return false;
            }
        }
        if (m_tempPath.empty()) {
            error = "no free temporary name beside " + m_target;
            return false;
        }
    }
    if (::rename(m_tempPath.c_str(), m_target.c_str()) != 0) {
        error = "cannot rename the output to " + m_target + ": " + std::strerror(errno);
        return false;
    }
    m_tempPath.clear();
    return true;
}

} // namespace lumen
