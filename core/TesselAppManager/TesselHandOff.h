// The one seam through which the source hands a finished download to the
// Tessel browser.
//
// The source owns exactly one implementation: by default TesselTalkHandOff
// (PtTesselTalk.h), over the source's own messaging link. Tests put another
// one in through CAppSource::setTesselHandOff; TesselNotInstalled answers
// the way an installation without Tessel does. Both calls run on the host's
// thread that drives the plug-in.
#pragma once

#include <string>

class TesselHandOff {
public:
    // What launchTessel answers.
    enum Result : int {
        kAnswered = 0,      // Tessel received the script and answered
        kNotInstalled = -1, // Tessel is neither running nor installed: nothing was sent
        kNoAnswer = -2,     // the script went out but no answer came in time
    };

    virtual ~TesselHandOff() = default;

    // True when a Tessel process is running now.
    virtual bool isTesselRunning() = 0;
    // Sends the UTF-8 script to Tessel, launching it first when it is
    // installed but not running; with bringToFront Tessel is raised once it
    // has answered.
    virtual int launchTessel(const std::string& script, bool bringToFront) = 0;
};

// The hand-off of an installation without Tessel: never running, and every
// launch answers kNotInstalled without sending anything.
class TesselNotInstalled final : public TesselHandOff {
public:
    bool isTesselRunning() override { return false; }
    int launchTessel(const std::string&, bool) override { return kNotInstalled; }
};
