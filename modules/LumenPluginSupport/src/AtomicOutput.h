// An output file that appears under its name only when complete. It is
// created unnamed in the target's folder (O_TMPFILE) where the file system
// allows, so that not even a killed process leaves a fragment; elsewhere it
// is a hidden temporary name, removed again on failure.
#pragma once

#include <string>

namespace lumen {

class AtomicOutput {
public:
    explicit AtomicOutput(std::string target);
    ~AtomicOutput(); // discards the file unless committed
    AtomicOutput(const AtomicOutput&) = delete;
    AtomicOutput& operator=(const AtomicOutput&) = delete;

    // Creates the file; false with a reason.
    bool open(std::string& error);
    int fd() const { return m_fd; }
    // Gives the complete file its name, replacing what was there.
    bool commit(std::string& error);

private:
    std::string m_target;
    std::string m_tempPath; // named fallback only
    int m_fd = -1;
};

} // namespace lumen
