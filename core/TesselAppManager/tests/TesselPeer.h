// A private messaging world with a test peer registered as Tessel.
//
// HOME, the XDG folders and the endpoint folder point into a fresh
// temporary folder; "tessel-1.0" is registered with the test peer program
// as its executable, so that sends may launch it. Launched and started
// peers record what they handle in files under the folder and are killed
// at tear-down.
#pragma once

#include <gtest/gtest.h>

#include <sys/types.h>

#include <string>
#include <vector>

class TesselPeer {
public:
    void setUp();
    void tearDown();

    // Registers "tessel-1.0" in the temporary per-user registry.
    void registerTessel();
    // Starts the peer serving "tessel-1.0" and waits until it is ready;
    // silent peers answer no script with a result.
    void startTessel(bool silent = false);
    // Has a separate process hand body to the running peer.
    void tellTessel(const std::string& body);
    // The bodies the peers handled so far, launched ones included.
    std::vector<std::string> handled() const;
    // Waits until the peers handled count bodies; whether they did.
    bool waitHandled(std::size_t count, double seconds = 10) const;
    int startedCount() const;

    std::string m_root;
    std::string m_launchedOut;

private:
    std::vector<std::string> lines(const char* prefix) const;
    pid_t spawn(const std::vector<std::string>& args, bool silent);

    std::vector<pid_t> m_children;
};
