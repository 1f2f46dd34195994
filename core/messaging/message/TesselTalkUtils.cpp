#include "TesselTalkUtils.h"

#include <time.h>
#include <unistd.h>

#include <cstdlib>
#include <initializer_list>

#include "Thread.h"

namespace ScObjects {
namespace TesselTalkUtils {

SoString getSenderID()
{
    SoString id("localhost:mac");
    id << static_cast<unsigned long>(getpid());
    return id;
}

unsigned long getTimeSeconds()
{
    return static_cast<unsigned long>(::time(nullptr));
}

double getUTCTimeMilliSeconds()
{
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    return double(now.tv_sec) * 1000.0 + double(now.tv_nsec / 1000000);
}

void sleep(unsigned int ms)
{
    Thread::sleep(ms);
}

SoString getCurrentLocale()
{
    const char* value = nullptr;
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        value = std::getenv(name);
        if (value && *value)
            break;
    }
    SoString locale;
    if (value) {
        long n = 0;
        while (value[n] && value[n] != '.' && value[n] != '@')
            ++n;
        locale.assign(value, n);
    }
    if (locale.isEmpty() || locale == "C" || locale == "POSIX")
        return SoString("en_us");
    return locale.lowercase();
}

SoString getUserID()
{
    SoString id = getID("userid");
    id.shrink(40);
    return id;
}

SoString getSignature()
{
    return getUserID();
}

SoString getSecurityID()
{
    return getUserID();
}

} // namespace TesselTalkUtils
} // namespace ScObjects
