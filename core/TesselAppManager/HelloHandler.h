#pragma once

#include "MsgHandler.h"

// The default handler of the plug-in's messaging object (PtTesselTalk): a "Result" answer
// sets the process-wide message-received flag. Everything else is ignored.
class HelloHandler : public ScObjects::TesselTalk::MsgHandler {
public:
    ~HelloHandler() override;
    // Always 0.
    long handleMessage(int kind, ScObjects::TesselTalk::Message& message, ScObjects::SoString* result) override;

    // The process-wide flag: set by a "Result", cleared before each send.
    static bool messageReceived();
    static void clearMessageReceived();
};
