// The host's request to start Tessel's own download command.
#include "CAppSource.h"

#include "TesselTalk.h"

using Messaging = ScObjects::TesselTalk::TesselTalk;

FxResult CAppSource::InvokeHostApp(void*, unsigned int, FxChar*)
{
    try {
        static const char kScript[] = "{ app.runSkiff();"
                                      "app.document.bringToFront (); }";
        if (Messaging::targetIsRunning(PtTesselTalk::kTesselSpecifier) && m_tesselTalk.isTesselBusy())
            return kFxOk;
        // The "no buffer" code stands for "Tessel is not installed" here.
        if (m_tesselTalk.DoLaunchTessel(kScript, true) == TesselHandOff::kNotInstalled)
            return kFxErrNoBuffer;
        // Whole seconds, and a thousand of them, as the host has always had
        // it: a message that stays pending holds this call for a long time.
        for (int i = 0; i < 60 && m_tesselTalk.outgoingMessagePending(); ++i) {
            Messaging::pump(Messaging::kBoth, nullptr);
            PtTesselTalk::sleepSeconds(1000);
        }
        Messaging::pump(Messaging::kBoth, nullptr);
        return kFxOk;
    } catch (...) {
        return kFxErrFailure;
    }
}
