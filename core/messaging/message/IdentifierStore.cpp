// The per-user identifier store: one file per identifier in $HOME/.corvane.
#include "TesselTalkUtils.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <string>

#include "RandomBytes.h"

namespace ScObjects {
namespace TesselTalkUtils {

namespace {

constexpr long kMaxKeyLength = 40;

bool isPlainName(const char* name)
{
    return name && *name && std::strchr(name, '/') == nullptr && std::strcmp(name, ".") != 0
        && std::strcmp(name, "..") != 0;
}

// The whole file, whatever its size, or false when it cannot be read to the
// size that it had when opened; errno is then ENOENT only when there is no
// such file.
bool readWhole(const std::string& path, SoString& out)
{
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0)
        return false;
    struct stat info;
    bool ok = false;
    if (fstat(fd, &info) == 0 && S_ISREG(info.st_mode)) {
        try {
            std::string content(std::size_t(info.st_size), '\0');
            std::size_t done = 0;
            while (done < content.size()) {
                const ssize_t n = ::read(fd, &content[done], content.size() - done);
                if (n < 0 && errno == EINTR)
                    continue;
                if (n <= 0)
                    break;
                done += std::size_t(n);
            }
            if (done == content.size()) {
                out.assign(content.data(), long(done));
                ok = true;
            }
        } catch (const std::bad_alloc&) {
            ok = false;
        }
    }
    ::close(fd);
    if (!ok)
        errno = EIO;
    return ok;
}

SoString newIdentifier()
{
    unsigned char bytes[16];
    if (!randomBytes(bytes, sizeof bytes))
        return SoString();
    SoString id;
    for (unsigned char byte : bytes)
        appendHexByte(id, byte);
    id.shrink(kMaxKeyLength);
    return id;
}

// Publishes the file whole or not at all: written under a private name and
// linked into place, so a racing process either wins or reads ours.
bool storeIdentifier(const std::string& path, const SoString& id)
{
    const std::string temp = path + ".tmp" + std::to_string(getpid());
    const int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (fd < 0)
        return false;
    const bool written = ::write(fd, id.c_str(), std::size_t(id.length())) == id.length();
    const bool closed = ::close(fd) == 0;
    const bool linked = written && closed && ::link(temp.c_str(), path.c_str()) == 0;
    ::unlink(temp.c_str());
    return linked;
}

} // namespace

SoString getID(const char* name)
{
    const char* home = std::getenv("HOME");
    if (!home || !*home || !isPlainName(name))
        return SoString();
    const std::string folder = std::string(home) + "/.corvane";
    const std::string path = folder + "/" + name;

    SoString id;
    if (readWhole(path, id))
        return id;
    if (errno != ENOENT)
        return SoString();

    if (::mkdir(folder.c_str(), 0771) == 0)
        ::chmod(folder.c_str(), 0771); // the umask must not narrow it
    else if (errno != EEXIST)
        return SoString();
    id = newIdentifier();
    if (id.isEmpty())
        return id;
    if (storeIdentifier(path, id))
        return id;
    // Another process stored its identifier first: that one is the identifier.
    SoString theirs;
    return errno == EEXIST && readWhole(path, theirs) ? theirs : SoString();
}

SoString getDigestKey()
{
    static std::mutex cacheMutex;
    static std::string cachedHome;
    static bool cached = false;
    // A static, not a heap object: a module that is unloaded must not leave
    // the key behind.
    static SoString cachedKey;

    const char* home = std::getenv("HOME");
    const std::string currentHome = home ? home : "";
    std::lock_guard<std::mutex> guard(cacheMutex);
    if (!cached || cachedHome != currentHome) {
        SoString key = getID("md5");
        key.shrink(kMaxKeyLength);
        cachedKey = key;
        cachedHome = currentHome;
        cached = true;
    }
    return cachedKey;
}

} // namespace TesselTalkUtils
} // namespace ScObjects
