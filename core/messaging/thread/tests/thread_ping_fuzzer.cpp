// Bytes that any local process may send to a messaging thread's endpoint:
// read as messages and given to the thread's ping entry point.
#include <cstddef>
#include <cstdint>
#include <string>

#include "Message.h"
#include "SystemHandlers.h"
#include "TesselTalkThread.h"

using namespace ScObjects;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // Never started: the fuzzer drives the handlers itself.
    static TesselTalkThread* thread = new TesselTalkThread(nullptr, SoString("fuzz-1.0"));
    const std::string text(reinterpret_cast<const char*>(data), size);
    const char* cursor = text.c_str();
    const char* end = cursor + text.size();
    while (cursor < end) {
        TesselTalk::Message message;
        const char* next = message.readFromString(cursor, end - cursor);
        if (next <= cursor)
            break;
        cursor = next;
        ThreadMainMsgHandler main(nullptr, thread);
        SoString response;
        main.handleMessage(TesselTalk::MsgHandler::kRequest, message, &response);
    }
    return 0;
}
