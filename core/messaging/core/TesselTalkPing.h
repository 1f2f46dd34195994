// Pings and probes between processes: the ping exchange with another
// process's messaging thread, the endpoint names involved, and the probes
// that tell whether an application runs.
#pragma once

#include "SoString.h"
#include "Specifier.h"

namespace ScObjects {
namespace TesselTalkUtils {

// app "_" instance "-" version "-" locale "#thread", leaving out what the
// specifier lacks: the endpoint of an application's messaging thread.
SoString threadEndpointName(const SoString& appSpec);

// Sends request (in the "ECHO_REQUEST" header) to target's messaging thread
// (toThread) or to target itself, from an endpoint of our own named with
// number, and waits at most timeoutSeconds for the answer. The answer text,
// or empty when no answer came; "NOINTERAPPSTREAM" when this process has no
// stream. responseBody (may be null) takes the answer's body.
SoString ping(const SoString& target, bool toThread, const SoString& request, unsigned long number,
    long timeoutSeconds, const SoString* body, SoString* responseBody);

// Delivers a probe message of type from self to target; true when self is
// target or delivery succeeded. No answer is awaited.
bool testTarget(const SoString& self, const SoString& target, const char* type, unsigned long serial);

// Whether spec runs: the caller itself, a live registered process, a held
// thread endpoint, or a held endpoint of its own.
bool isRunning(const TesselTalk::Specifier& spec);
// Whether spec answers a "STATUS" ping with "BUSY" within a second.
bool isBusy(const TesselTalk::Specifier& spec);
// The answer to a "STATUS" ping, waiting at most two seconds.
SoString status(const TesselTalk::Specifier& spec);

} // namespace TesselTalkUtils
} // namespace ScObjects
