// Every test program gets a runtime folder of its own, so that the
// messaging endpoints one test process holds (the plug-in starts its link to
// the browser whenever a source object is made) never meet those of another
// test running beside it, nor those of the user's own programs. Tests that
// need a particular folder still set XDG_RUNTIME_DIR themselves; children
// inherit this one, so a test and the peers it starts share it.
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace {

class PrivateRuntimeDir {
public:
    PrivateRuntimeDir()
    {
        char pattern[] = "/tmp/tessel-test-run-XXXXXX";
        if (!::mkdtemp(pattern))
            return;
        ::chmod(pattern, 0700);
        m_path = pattern;
        ::setenv("XDG_RUNTIME_DIR", pattern, 1);
    }
    ~PrivateRuntimeDir()
    {
        std::error_code ignored;
        if (!m_path.empty())
            std::filesystem::remove_all(m_path, ignored);
    }

private:
    std::string m_path;
};

const PrivateRuntimeDir gRuntimeDir;

} // namespace
