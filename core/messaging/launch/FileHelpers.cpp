#include "FileHelpers.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace ScObjects {
namespace TesselTalkUtils {

SoString getLaunchFolderPath()
{
    char path[PATH_MAX];
    const ssize_t n = readlink("/proc/self/exe", path, sizeof path - 1);
    if (n <= 0)
        return SoString();
    const char* slash = static_cast<const char*>(::memrchr(path, '/', std::size_t(n)));
    return slash ? SoString(path, slash == path ? 1 : slash - path) : SoString();
}

SoString getFolderSeparator()
{
    return SoString("/");
}

bool fileExists(const char* path)
{
    struct stat info;
    return path && *path && lstat(path, &info) == 0;
}

bool createAlias(const char* path, const char* target)
{
    return path && target && *path && *target && symlink(target, path) == 0;
}

SoString resolveAlias(const char* path)
{
    char resolved[PATH_MAX];
    return path && realpath(path, resolved) ? SoString(resolved) : SoString();
}

bool deleteFile(const char* path)
{
    struct stat info;
    return path && lstat(path, &info) == 0 && !S_ISDIR(info.st_mode) && unlink(path) == 0;
}

bool mkdir(const char* path)
{
    if (!path || !*path)
        return false;
    struct stat info;
    return ::mkdir(path, 0755) == 0 || (errno == EEXIST && stat(path, &info) == 0 && S_ISDIR(info.st_mode));
}

bool rmdir(const char* path)
{
    return path && ::rmdir(path) == 0;
}

bool iterateFolder(const char* folder, FileFilter& filter)
{
    DIR* dir = folder ? opendir(folder) : nullptr;
    if (!dir)
        return false;
    std::vector<std::string> names;
    while (const dirent* entry = readdir(dir)) {
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0)
            names.push_back(entry->d_name);
    }
    closedir(dir);
    // The filter may change the folder; it sees the items that were there.
    std::sort(names.begin(), names.end());
    std::string prefix = folder;
    if (prefix.empty() || prefix.back() != '/')
        prefix += '/';
    for (const std::string& name : names)
        filter.run(SoString((prefix + name).c_str()));
    return true;
}

} // namespace TesselTalkUtils
} // namespace ScObjects
