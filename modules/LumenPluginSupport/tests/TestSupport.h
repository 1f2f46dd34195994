// A scratch folder per test, the programs the tests run and the shared samples.
#pragma once

#include <string>
#include <vector>

class ScratchFolder {
public:
    ScratchFolder();
    ~ScratchFolder();
    const std::string& path() const { return m_path; }
    std::string operator/(const std::string& name) const { return m_path + "/" + name; }
    // The names in the folder, hidden ones included, sorted.
    std::vector<std::string> entries() const;

private:
    std::string m_path;
};

// Runs a shell command; its standard output and error, and its exit status.
std::string run(const std::string& command, int* status = nullptr);
bool haveProgram(const char* name);
// The path of a shared raw sample; empty when the samples are absent.
std::string rawSample(const char* name);
