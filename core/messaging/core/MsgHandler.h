// A message handler of a messaging object.
//
// Handlers given to a messaging object (as default handler, through
// changeHandler or through the thread's key table) become owned by it.
// A handler with a specific serial number is one-shot: it is removed and
// deleted after it has handled the message of that serial.
#pragma once

#include "Message.h"
#include "MessageConstants.h"
#include "SoHeap.h"
#include "SoString.h"

namespace ScObjects {
namespace TesselTalk {

class TesselTalk;

class MsgHandler : public SoHeap {
public:
    // What a message is to its handler.
    enum Kind {
        kUser = 0,     // any user type
        kRequest = 1,  // "Calligo" or "Debug" that answers nothing
        kReceived = 2, // an acknowledgement
        kResult = 3,
        kError = 4,
        kTimeout = 5,
        kLog = 6,
        kIdle = 7,
    };

    virtual ~MsgHandler() = default;
    // Called once when the handler is installed.
    virtual void initialize(TesselTalk*) {}
    // 0 for success; result (may be null) takes the answer text.
    virtual long handleMessage(int kind, Message& message, SoString* result) = 0;
    virtual SoString getMsgType() const { return SoString(kTypeCalligo); }
    // kNoSerial: any serial, and the handler stays.
    virtual unsigned long getSerialNumber() const { return kNoSerial; }
};

// The kind under which message reaches its handler.
int messageKind(const Message& message);

} // namespace TesselTalk
} // namespace ScObjects
