// The plug-in's link to the Tessel browser over TesselTalk.
//
// One per source object: Initialize (from its constructor) starts the
// messaging system as "skiff-4.0" with this process's messaging thread and
// a main object whose default handler is HelloHandler (HelloHandler.h);
// Terminate (from its destructor) ends it. Every call runs on the host's thread that drives the
// plug-in; answers are handled there too, during pump, so the
// message-received flag needs no lock.
#pragma once

#include "TesselHandOff.h"

namespace ScObjects {
namespace TesselTalk {
class TesselTalk;
}
} // namespace ScObjects

class PtTesselTalk {
public:
    // Our own side and the target (any installed version of Tessel).
    static constexpr const char* kOwnSpecifier = "skiff-4.0";
    static constexpr const char* kTesselSpecifier = "tessel";
    // How long send may wait (it may launch Tessel), then how many one-second
    // waits for the answer.
    static constexpr unsigned long kSendWaitSeconds = 300;
    static constexpr int kAnswerWaits = 30;

    PtTesselTalk() = default;
    PtTesselTalk(const PtTesselTalk&) = delete;
    PtTesselTalk& operator=(const PtTesselTalk&) = delete;
    ~PtTesselTalk();

    // Sets the messaging system up as kOwnSpecifier and makes the object.
    // Always true: without messaging, Tessel is simply never reached.
    bool Initialize();
    // Deletes the object and ends the messaging system; swallows every
    // exception of the shutdown. Safe to call twice.
    void Terminate();

    // True exactly when Tessel's messaging thread answers "STATUS" with
    // "BUSY" within 2 seconds ("IDLE", "PUMPING" or no answer: not busy).
    bool isTesselBusy();
    // Sends script + "'done';" to Tessel asking for a "Result", launching
    // Tessel when it is installed but not running, then waits up to
    // kAnswerWaits seconds for the answer, raising Tessel once it came when
    // bringToFront. The TesselHandOff results: 0 answered, -1 not installed
    // (nothing sent), -2 no answer in time.
    int DoLaunchTessel(const char* script, bool bringToFront);
    // Whether the object still holds messages it could not hand over.
    bool outgoingMessagePending() const;

    // Whole-second sleep of the waits here and in the source's
    // InvokeHostApp. Tests replace it so that they need not wait; null puts
    // back the system's sleep.
    using SleepFunction = void (*)(unsigned int seconds);
    static void setSleepFunction(SleepFunction sleeper);
    static void sleepSeconds(unsigned int seconds);

private:
    ScObjects::TesselTalk::TesselTalk* m_tt = nullptr;
};

// The hand-off of the end-of-download step through a PtTesselTalk that the
// caller keeps alive for as long as this object.
class TesselTalkHandOff final : public TesselHandOff {
public:
    explicit TesselTalkHandOff(PtTesselTalk& link)
        : m_link(link)
    {
    }
    bool isTesselRunning() override;
    int launchTessel(const std::string& script, bool bringToFront) override;

private:
    PtTesselTalk& m_link;
};
