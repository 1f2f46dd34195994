// Whether an application runs: its recorded process, then a probe of its
// messaging thread's endpoint, then of the application's own endpoint.
// Probes go through the transport, an interface the stream layer fills;
// without it nothing can be probed and only the process check answers.
#pragma once

#include "SoString.h"
#include "Specifier.h"

namespace ScObjects {
namespace TesselTalkUtils {

class ProbeStream {
public:
    virtual ~ProbeStream() = default;
    // Whether an endpoint of that name could be made here (nobody holds it).
    virtual bool canCreateLocally(const SoString& name) = 0;
    // Whether messages can go out under that sender name.
    virtual bool canTakeSenderName(const SoString& name) = 0;
    // Hands the text to the endpoint named target; whether it was delivered.
    virtual bool deliver(const SoString& target, const SoString& text) = 0;
};

// Install (not owned; null removes) while no probe is under way.
void setProbeStream(ProbeStream* stream);
ProbeStream* getProbeStream();

// The endpoint of an application's messaging thread: appname, "_" instance,
// "-" version, "-" locale (those present), then "#thread".
SoString threadEndpointName(const TesselTalk::Specifier& spec);

// Delivers a message of that type and serial from self "#" type (or, when
// that sender name is taken, self "_" random "#" type, ten tries more) to
// target, without waiting for an answer. True when self is the target or
// the delivery succeeded; false without a stream or when nobody holds
// target.
bool testTarget(const SoString& self, const SoString& target, const char* type, unsigned long serial);

// The running test of spec as asked by self (the caller's identity) with
// serial: the caller itself runs; without a suffix a live recorded process
// or an answering messaging thread means running; otherwise (or failing
// those) the answer of a probe of spec itself.
bool isRunning(const TesselTalk::Specifier& spec, const SoString& self, unsigned long serial);

} // namespace TesselTalkUtils
} // namespace ScObjects
