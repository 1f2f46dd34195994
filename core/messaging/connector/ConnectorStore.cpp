#include "ConnectorStore.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>

#include "ConnectorConfig.h"

namespace ScObjects {
namespace ConnectorStore {

namespace {

constexpr const char kSubfolder[] = "/corvane/tesseltalk";

std::string env(const char* name)
{
    const char* value = std::getenv(name);
    return value ? value : "";
}

bool isConfigName(const char* name)
{
    const std::size_t n = std::strlen(name);
    return name[0] != '.' && n > 4 && std::strcmp(name + n - 4, ".xml") == 0;
}

// The configuration files of folder in name order, as full paths.
std::vector<std::string> listFolder(const std::string& folder)
{
    std::vector<std::string> paths;
    DIR* dir = opendir(folder.c_str());
    if (!dir)
        return paths;
    while (const dirent* entry = readdir(dir)) {
        if (isConfigName(entry->d_name))
            paths.push_back(folder + "/" + entry->d_name);
    }
    closedir(dir);
    std::sort(paths.begin(), paths.end());
    return paths;
}

std::string fileStamp(const std::string& path)
{
    struct stat info;
    if (stat(path.c_str(), &info) != 0)
        return path + "|-";
    char stamp[96];
    std::snprintf(stamp, sizeof stamp, "|%lld|%lld.%09ld|%llu", static_cast<long long>(info.st_size),
        static_cast<long long>(info.st_mtim.tv_sec), info.st_mtim.tv_nsec,
        static_cast<unsigned long long>(info.st_ino));
    return path + stamp;
}

bool readFile(const std::string& path, SoString& text, std::string& error)
{
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        error = std::strerror(errno);
        return false;
    }
    struct stat info;
    bool ok = false;
    if (fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        error = "not a regular file";
    } else if (info.st_size > kMaxFileSize) {
        error = "larger than 1 MiB";
    } else {
        std::string buffer(std::size_t(info.st_size), '\0');
        std::size_t done = 0;
        while (done < buffer.size()) {
            const ssize_t n = ::read(fd, &buffer[done], buffer.size() - done);
            if (n < 0 && errno == EINTR)
                continue;
            if (n <= 0)
                break;
            done += std::size_t(n);
        }
        ok = done == buffer.size();
        if (ok)
            text.assign(buffer.data(), long(buffer.size()));
        else
            error = "short read";
    }
    ::close(fd);
    return ok;
}

void warnOnce(std::set<std::string>& warned, const std::string& path, const std::string& reason)
{
    if (!warned.insert(fileStamp(path)).second)
        return;
    std::fprintf(stderr, "TesselTalkConnector: skipping corrupt registry file '%s': %s\n", path.c_str(),
        reason.c_str());
}

void loadFolder(const std::vector<std::string>& paths, std::set<std::string>& warned,
    std::map<std::string, TTConnectorAppInfo>& records, std::vector<SoString>& groups)
{
    for (const std::string& path : paths) {
        SoString text;
        std::string reason;
        ConnectorConfig::Contents contents;
        SoString error;
        if (!readFile(path, text, reason)) {
            warnOnce(warned, path, reason);
            continue;
        }
        if (!ConnectorConfig::read(text.c_str(), text.length(), contents, error)) {
            warnOnce(warned, path, error.c_str());
            continue;
        }
        if (contents.hasRecord) {
            // The first folder to hold a specifier wins; a record's own group
            // block repeats the built-in suite and is not taken.
            records.emplace(contents.record.specifier.c_str(), contents.record);
        } else {
            groups.insert(groups.end(), contents.groupEntries.begin(), contents.groupEntries.end());
        }
    }
}

bool makeFolders(const std::string& folder)
{
    for (std::size_t slash = 1; slash != std::string::npos; slash = folder.find('/', slash + 1)) {
        const std::string part = folder.substr(0, slash);
        if (::mkdir(part.c_str(), 0755) != 0 && errno != EEXIST)
            return false;
    }
    return ::mkdir(folder.c_str(), 0755) == 0 || errno == EEXIST;
}

bool writeAll(int fd, const char* data, std::size_t size)
{
    while (size > 0) {
        const ssize_t n = ::write(fd, data, size);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        data += n;
        size -= std::size_t(n);
    }
    return true;
}

} // namespace

std::string userFolder()
{
    std::string base = env("XDG_DATA_HOME");
    if (base.empty() || base[0] != '/') {
        const std::string home = env("HOME");
        if (home.empty())
            return std::string();
        base = home + "/.local/share";
    }
    return base + kSubfolder;
}

std::vector<std::string> systemFolders()
{
    std::string dirs = env("XDG_DATA_DIRS");
    if (dirs.empty())
        dirs = "/usr/local/share:/usr/share";
    std::vector<std::string> folders;
    std::size_t start = 0;
    while (start <= dirs.size()) {
        std::size_t colon = dirs.find(':', start);
        if (colon == std::string::npos)
            colon = dirs.size();
        const std::string dir = dirs.substr(start, colon - start);
        // Relative entries are invalid by the base directory rules.
        if (!dir.empty() && dir[0] == '/')
            folders.push_back(dir + kSubfolder);
        start = colon + 1;
    }
    return folders;
}

std::string recordFileName(const SoString& specifier)
{
    std::string name;
    for (long i = 0; i < specifier.length(); ++i) {
        const unsigned char c = static_cast<unsigned char>(specifier.c_str()[i]);
        const bool plain = (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || std::strchr("_.#-", c);
        if (plain && !(i == 0 && c == '.')) {
            name += char(c);
        } else {
            char escaped[4];
            std::snprintf(escaped, sizeof escaped, "%%%02X", c);
            name += escaped;
        }
    }
    return name + ".xml";
}

namespace {

// The folders in the order they are read and signed: the user's first.
std::vector<std::string> allFolders()
{
    std::vector<std::string> folders = systemFolders();
    folders.insert(folders.begin(), userFolder());
    return folders;
}

void sign(std::string& signature, const std::string& folder, const std::vector<std::string>& paths)
{
    signature += folder + "\n";
    for (const std::string& path : paths)
        signature += fileStamp(path) + "\n";
}

} // namespace

Snapshot load(std::set<std::string>& warned)
{
    Snapshot snapshot;
    std::map<std::string, TTConnectorAppInfo> records;
    const std::vector<std::string> folders = allFolders();
    std::vector<std::vector<SoString>> systemGroups(folders.size() - 1);
    for (std::size_t i = 0; i < folders.size(); ++i) {
        // One listing serves both the signature and the reading, so that
        // what was read is what the signature vouches for.
        const std::vector<std::string> paths = folders[i].empty() ? std::vector<std::string>() : listFolder(folders[i]);
        sign(snapshot.signature, folders[i], paths);
        loadFolder(paths, warned, records, i == 0 ? snapshot.userGroups : systemGroups[i - 1]);
    }
    for (auto it = systemGroups.rbegin(); it != systemGroups.rend(); ++it)
        snapshot.systemGroups.insert(snapshot.systemGroups.end(), it->begin(), it->end());
    for (auto& entry : records)
        snapshot.records.push_back(entry.second);
    return snapshot;
}

std::string signature()
{
    std::string text;
    for (const std::string& folder : allFolders())
        sign(text, folder, folder.empty() ? std::vector<std::string>() : listFolder(folder));
    return text;
}

bool writeAtomically(const std::string& path, const SoString& text, std::string& error)
{
    static std::atomic<unsigned> counter{0};
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos || slash == 0) {
        error = "not an absolute file path";
        return false;
    }
    const std::string folder = path.substr(0, slash);
    if (!makeFolders(folder)) {
        error = "cannot create " + folder + ": " + std::strerror(errno);
        return false;
    }
    // A dot name: never taken for a configuration, even when left behind by
    // a writer that was killed.
    const std::string temp = folder + "/." + path.substr(slash + 1) + ".tmp" + std::to_string(getpid()) + "."
        + std::to_string(counter++);
    const int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0644);
    if (fd < 0) {
        error = "cannot create " + temp + ": " + std::strerror(errno);
        return false;
    }
    bool ok = writeAll(fd, text.c_str(), std::size_t(text.length())) && ::fsync(fd) == 0;
    ok = ::close(fd) == 0 && ok;
    if (ok && ::rename(temp.c_str(), path.c_str()) == 0) {
        const int dirFd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (dirFd >= 0) {
            ::fsync(dirFd);
            ::close(dirFd);
        }
        return true;
    }
    error = "cannot write " + path + ": " + std::strerror(errno);
    ::unlink(temp.c_str());
    return false;
}

bool removeFile(const std::string& path)
{
    return ::unlink(path.c_str()) == 0 || errno == ENOENT;
}

} // namespace ConnectorStore
} // namespace ScObjects
