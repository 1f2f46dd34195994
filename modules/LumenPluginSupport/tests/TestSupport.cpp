#include "TestSupport.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include <sys/wait.h>

namespace fs = std::filesystem;

ScratchFolder::ScratchFolder()
{
    std::string pattern = (fs::temp_directory_path() / "lumen_dng.XXXXXX").string();
    if (mkdtemp(pattern.data()))
        m_path = pattern;
}

ScratchFolder::~ScratchFolder()
{
    std::error_code ignored;
    if (!m_path.empty())
        fs::remove_all(m_path, ignored);
}

std::vector<std::string> ScratchFolder::entries() const
{
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(m_path))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

std::string run(const std::string& command, int* status)
{
    std::string output;
    FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    if (!pipe)
        return output;
    char buffer[4096];
    std::size_t n;
    while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0)
        output.append(buffer, n);
    const int rc = pclose(pipe);
    if (status)
        *status = WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
    return output;
}

bool haveProgram(const char* name)
{
    int status = -1;
    run(std::string("command -v ") + name, &status);
    return status == 0;
}

std::string rawSample(const char* name)
{
    const fs::path path = fs::path(TESSEL_RAW_SAMPLES) / name;
    return fs::exists(path) ? path.string() : std::string();
}
