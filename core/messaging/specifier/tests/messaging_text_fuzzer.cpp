// Arbitrary bytes as a wire text (read message after message, then written
// back) and as a specifier (parsed, completed against a small registry,
// taken apart and rebuilt).
#include <cstddef>
#include <cstdint>
#include <string>

#include "Message.h"
#include "Specifier.h"

using namespace ScObjects;
using namespace ScObjects::TesselTalk;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const char* text = reinterpret_cast<const char*>(data);
    const char* end = text + size;
    const char* p = text;
    Message m;
    for (int i = 0; i < 64 && p < end; ++i) {
        const char* next = m.readFromString(p, long(end - p));
        if (next < p || next > end)
            __builtin_trap();
        SoString out;
        m.writeToString(out);
        SoString log;
        m.logToString("FUZZ", log, true);
        if (next == p)
            break;
        p = next;
    }

    const std::string asText(text, size);
    Specifier spec(asText.c_str(), true);
    Specifier rebuilt(spec);
    rebuilt.setInstance(spec.instance().c_str());
    rebuilt.setSuffix(spec.suffix().c_str());
    spec.appName();
    spec.version();
    spec.locale();
    getVersionOrGroup(spec);
    spec.fixUp(false);
    return 0;
}
