// Launch parameters: how a freshly launched application receives the words
// its launcher prepared for it. They travel as messages, never on the
// command line, where any user could read them.
#pragma once

#include "SoString.h"
#include "Specifier.h"

namespace ScObjects {
namespace TesselTalkUtils {

// The specifier's appname, then "-" and its version when it has one.
SoString getLaunchQueueName(const TesselTalk::Specifier& spec);

// The launched side. params is emptied first. False for a specifier that
// completes to nothing. When nobody holds the launch queue's
// "haslaunchparams" endpoint (no launcher is offering parameters), true at
// once with no parameters. Otherwise waits for them on appname "#" pid for
// up to 10 seconds, then on the launch queue name for up to 200 seconds;
// the result is whether they came.
bool getLaunchParameters(const char* appSpec, SoString& params);

// Listens on portName and takes the body of the first message that
// arrives, looking at once and then every 4 seconds until maxSeconds have
// passed. True when params were taken, or when the endpoint cannot be
// opened (nothing to wait for); false when nothing arrived.
bool receiveLaunchParams(const SoString& portName, SoString& params, int maxSeconds);

} // namespace TesselTalkUtils
} // namespace ScObjects
