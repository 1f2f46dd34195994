// A user's own folders for one test: a fresh /tmp/<name>.XXXXXX holding
// home, data, sys, config and run (mode 0700), with HOME, XDG_DATA_HOME,
// XDG_DATA_DIRS, XDG_CONFIG_HOME and XDG_RUNTIME_DIR pointed at them, so the
// registry, identifier files and endpoints a test touches are its own and
// every process it starts inherits them. The caller removes the root.
#pragma once

#include <sys/stat.h>

#include <cstdlib>
#include <string>

// The root, or empty when a folder could not be made (the environment is
// then left as it was).
inline std::string makeTemporaryUserFolders(const char* name)
{
    std::string pattern = std::string("/tmp/") + name + ".XXXXXX";
    if (!::mkdtemp(pattern.data()))
        return std::string();
    const std::string root = pattern;
    for (const char* sub : {"/home", "/data", "/sys", "/config", "/run"}) {
        if (::mkdir((root + sub).c_str(), 0700) != 0)
            return std::string();
    }
    ::setenv("HOME", (root + "/home").c_str(), 1);
    ::setenv("XDG_DATA_HOME", (root + "/data").c_str(), 1);
    ::setenv("XDG_DATA_DIRS", (root + "/sys").c_str(), 1);
    ::setenv("XDG_CONFIG_HOME", (root + "/config").c_str(), 1);
    ::setenv("XDG_RUNTIME_DIR", (root + "/run").c_str(), 1);
    return root;
}
