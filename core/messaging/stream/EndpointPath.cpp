#include "EndpointPath.h"

#include <errno.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <mutex>

#include "Sha256.h"

namespace StreamTransport {

namespace {

bool isSafe(unsigned char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' || c == '_'
        || c == '-';
}

std::string encode(const std::string& name)
{
    static const char hex[] = "0123456789ABCDEF";
    std::string out;
    out.reserve(name.size());
    for (unsigned char c : name) {
        // A leading dot would hide the file and could spell "." or "..".
        if (isSafe(c) && !(c == '.' && out.empty())) {
            out += char(c);
        } else {
            out += '%';
            out += hex[c >> 4];
            out += hex[c & 15];
        }
    }
    return out;
}

std::string digest(const std::string& name)
{
    unsigned char sum[ScObjects::kSha256Size];
    ScObjects::sha256(name.data(), name.size(), sum);
    static const char hex[] = "0123456789abcdef";
    std::string out = "=";
    for (unsigned int i = 0; i < 16; ++i) {
        out += hex[sum[i] >> 4];
        out += hex[sum[i] & 15];
    }
    return out;
}

bool fitsSocketPath(const std::string& directory, const std::string& base)
{
    return directory.size() + 1 + base.size() + 5 < sizeof(sockaddr_un::sun_path);
}

} // namespace

bool isPrivateDirectory(const std::string& path)
{
    struct stat info;
    if (path.empty() || ::lstat(path.c_str(), &info) != 0)
        return false;
    return S_ISDIR(info.st_mode) && info.st_uid == ::geteuid() && (info.st_mode & 077) == 0;
}

namespace {

std::string inRuntimeFolder(const char* runtime)
{
    return std::string(runtime) + "/tesseltalk";
}

// The directory, and whether it lies in the runtime folder.
std::string verifyEndpointDirectory(const char* runtime, bool& inRuntime)
{
    std::string directory;
    inRuntime = runtime && *runtime && isPrivateDirectory(runtime);
    if (inRuntime)
        directory = inRuntimeFolder(runtime);
    else
        directory = "/tmp/tesseltalk-" + std::to_string(::geteuid());
    if (isPrivateDirectory(directory))
        return directory;
    if (::mkdir(directory.c_str(), 0700) != 0 && errno != EEXIST)
        return std::string();
    return isPrivateDirectory(directory) ? directory : std::string();
}

// The last directory verified inside a runtime folder, for the process.
// Constant-initialised and never destroyed, so that it is there for a late
// destructor and leaves nothing behind when a module is unloaded. Taken only
// when its lock is free at once: a thread that finds it busy, or a child made
// by fork while another thread held it, verifies the directory itself.
struct VerifiedDirectory {
    std::mutex mutex;
    std::atomic<bool> known{false};
    uid_t user = 0;
    char runtime[256] = {};
};

VerifiedDirectory gVerified;

} // namespace

std::string endpointDirectory()
{
    const char* runtime = ::getenv("XDG_RUNTIME_DIR");
    const uid_t user = ::geteuid();
    if (runtime) {
        std::unique_lock<std::mutex> lock(gVerified.mutex, std::try_to_lock);
        if (lock && gVerified.known && gVerified.user == user && std::strcmp(gVerified.runtime, runtime) == 0)
            return inRuntimeFolder(runtime);
    }
    bool inRuntime = false;
    const std::string directory = verifyEndpointDirectory(runtime, inRuntime);
    // Kept only inside a runtime folder that is ours alone: under /tmp a
    // folder removed by a cleaner could be made again by anybody. A refusal
    // is asked again too, since the directory may be put right.
    if (inRuntime && !directory.empty() && std::strlen(runtime) < sizeof gVerified.runtime) {
        std::unique_lock<std::mutex> lock(gVerified.mutex, std::try_to_lock);
        if (lock) {
            std::strcpy(gVerified.runtime, runtime);
            gVerified.user = user;
            gVerified.known = true;
        }
    }
    return directory;
}

void forgetEndpointDirectory()
{
    gVerified.known = false;
}

std::string endpointBaseName(const std::string& directory, const std::string& portName)
{
    std::string base = encode(portName);
    if (fitsSocketPath(directory, base))
        return base;
    base = digest(portName);
    return !base.empty() && fitsSocketPath(directory, base) ? base : std::string();
}

bool endpointPaths(const std::string& portName, EndpointPaths& out)
{
    out.directory = endpointDirectory();
    if (out.directory.empty())
        return false;
    const std::string base = endpointBaseName(out.directory, portName);
    if (base.empty())
        return false;
    out.socket = out.directory + "/" + base + ".sock";
    out.lock = out.directory + "/" + base + ".lock";
    return true;
}

} // namespace StreamTransport
