// Pings and probes between processes: the ping exchange with another
// process's messaging thread, the endpoint names involved, and the probes
// that tell whether an application runs.
#pragma once

#include "RunningTest.h"
#include "SoString.h"
#include "Specifier.h"

namespace ScObjects {
namespace TesselTalkUtils {

// The endpoint of an application's messaging thread, from its specifier text.
SoString threadEndpointName(const SoString& appSpec);

// Sends request (in the "ECHO_REQUEST" header) to target's messaging thread
// (toThread) or to target itself, from an endpoint of our own named with
// number, and waits at most timeoutSeconds for the answer. The answer text,
// or empty when no answer came; "NOINTERAPPSTREAM" when this process has no
// stream. responseBody (may be null) takes the answer's body.
SoString ping(const SoString& target, bool toThread, const SoString& request, unsigned long number,
    long timeoutSeconds, const SoString* body, SoString* responseBody);

// Removes the reply endpoint that ping keeps between exchanges; the
// messaging system's exit calls it, so that no endpoint outlives it.
void releaseReplyEndpoint();

// Whether spec runs, asked as this process's context (its specifier and
// next serial number): the running test of the launch layer, whose probes
// go through this process's stream once InitTerm::init has installed it.
bool isRunning(const TesselTalk::Specifier& spec);
// Whether spec answers a "STATUS" ping with "BUSY" within a second.
bool isBusy(const TesselTalk::Specifier& spec);
// The answer to a "STATUS" ping, waiting at most two seconds.
SoString status(const TesselTalk::Specifier& spec);

} // namespace TesselTalkUtils
} // namespace ScObjects
