// File services of the messaging system. Paths are UTF-8 bytes as they
// are; failures give false or the empty string.
#pragma once

#include "SoString.h"

namespace ScObjects {
namespace TesselTalkUtils {

class FileFilter {
public:
    virtual ~FileFilter() = default;
    virtual void run(const SoString& path) = 0;
};

// The folder holding the running executable.
SoString getLaunchFolderPath();
// "/".
SoString getFolderSeparator();

bool fileExists(const char* path);
// An alias is a symbolic link here: createAlias makes path point at target
// (replacing nothing), resolveAlias gives the file it finally leads to.
bool createAlias(const char* path, const char* target);
SoString resolveAlias(const char* path);
// Files and links only; folders go through rmdir.
bool deleteFile(const char* path);
// A single folder, mode 0755 before the umask; true when it already exists.
bool mkdir(const char* path);
// An empty folder.
bool rmdir(const char* path);
// Calls filter.run with folder "/" name for every item of folder except
// "." and "..", in name order; false when the folder cannot be read.
bool iterateFolder(const char* folder, FileFilter& filter);

} // namespace TesselTalkUtils
} // namespace ScObjects
