#include "PosixUniqueName.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

bool posixUniqueName(const char* folder, const char* name, unsigned start, bool alwaysNumber, std::string* out)
{
    const char* dot = std::strrchr(name, '.');
    const int stemLength = int(dot ? dot - name : std::strlen(name));
    const char* ext = dot ? dot : "";
    const int folderLength = int(std::strlen(folder));
    char path[PATH_MAX];
    unsigned number = start;
    for (int attempt = 0; attempt < 10000; ++attempt) {
        int length;
        if (attempt == 0 && !alwaysNumber) {
            length = std::snprintf(path, sizeof path, "%s/%s", folder, name);
        } else {
            char num[16];
            const int numLength = std::snprintf(num, sizeof num, "%u", number++);
            // The long-name branch keeps the whole name, extension included, as the stem.
            const bool longName = std::size_t(stemLength) + std::strlen(ext) + std::size_t(numLength) >= 254;
            length = longName ? std::snprintf(path, sizeof path, "%s/%s-%s%s", folder, name, num, ext)
                              : std::snprintf(path, sizeof path, "%s/%.*s-%s%s", folder, stemLength, name, num, ext);
        }
        if (length < 0 || std::size_t(length) >= sizeof path)
            return false;
        if (::access(path, F_OK) == 0)
            continue;
        const int fd = ::open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (fd < 0) {
            if (errno == EEXIST)
                continue;
            return false;
        }
        ::close(fd);
        ::unlink(path);
        out->assign(path + folderLength + 1);
        return true;
    }
    return false;
}
