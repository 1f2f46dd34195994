// Bytes that any local process may send to a messaging thread's endpoint:
// read as messages and given to the thread's ping entry point.
#include <cstddef>
#include <cstdint>

#include "TesselTalkThread.h"

using namespace ScObjects;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // Never started and without an endpoint: answers go nowhere, but every
    // request goes through the thread's own handling.
    static TesselTalkThread* thread = new TesselTalkThread(nullptr, SoString("fuzz-1.0"));
    thread->answerRequests(SoString(reinterpret_cast<const char*>(data), long(size)));
    return 0;
}
