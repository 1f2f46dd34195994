// The setup of the messaging context, at once or on a thread of its own.
//
// The setup completes the application specifier, fetches the launch
// parameters addressed to the application (which may take seconds when a
// launcher is handing them over) and makes the context current. Every entry
// point of the messaging system synchronises with a running setup through
// TesselTalkContext::getCurrentContext.
#pragma once

#include "SoString.h"
#include "Thread.h"

namespace ScObjects {

class TesselTalkSetupThread : public Thread {
public:
    // Empty for success, "INVALIDSPEC" for a specifier that completes to
    // nothing or when the launch parameters could not be had.
    static SoString runSetup(const SoString& appSpec);
    // False when a setup thread exists already or could not be made.
    static bool startSetupThread(const SoString& appSpec);
    static bool isSetupThreadRunning();
    // Waits for a setup thread (10 ms steps), joins and deletes it and
    // records the synchronisation time; nothing without one.
    static void syncWithSetupThread();
    // The "SETUPTIME" text for the times recorded so far.
    static SoString setupTimeText();

    void run() override;

private:
    explicit TesselTalkSetupThread(const SoString& appSpec);
    static SoString runLocked(const SoString& appSpec);
    SoString m_appSpec;
};

} // namespace ScObjects
