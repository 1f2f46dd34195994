#include "PtPath.h"

#include <fcntl.h>
#include <unistd.h>

#include "PtUTF.h"

// The file-system representation of a path on Linux is its UTF-8 bytes as they are.
bool ptucsaccess(const unsigned short* path, int mode)
{
    return ::access(ptucsToUtf8(path).c_str(), mode) != 0;
}

int ptucsopen(const unsigned short* path, int flags, int mode)
{
    return ::open(ptucsToUtf8(path).c_str(), flags, mode);
}

int ptucsunlink(const unsigned short* path)
{
    return ::unlink(ptucsToUtf8(path).c_str());
}
