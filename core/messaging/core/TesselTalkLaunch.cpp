// Launching targets, and asking whether they run.
#include <cstring>
#include <memory>

#include "InterAppStream.h"
#include "LaunchParams.h"
#include "Launcher.h"
#include "MessagingThread.h"
#include "Specifier.h"
#include "TesselTalk.h"
#include "TesselTalkConnector.h"
#include "TesselTalkContext.h"
#include "TesselTalkPing.h"
#include "TesselTalkUtils.h"

namespace ScObjects {
namespace TesselTalk {

namespace {

constexpr std::size_t kMaxSpecBytes = 257;
constexpr long kMaxParamsBytes = 65537;
constexpr long kLaunchKeySeconds = 300;
// How long a process waits for another one's launch of the same target,
// and how long a launcher keeps others waiting for its target to appear.
constexpr double kLaunchGuardMs = 30000;
constexpr double kLaunchHoldMs = 15000;
constexpr unsigned int kPollMs = 100;

// Whether target takes deliveries. A held name alone is not enough: the
// probes of other processes hold names for a moment too.
bool acceptsDeliveries(const Specifier& target, const SoString& self)
{
    return TesselTalkUtils::testTarget(self, TesselTalkUtils::threadEndpointName(target), "ping", 0)
        || TesselTalkUtils::testTarget(self, target, "Calligo", 0);
}

// Several processes may want the same target at the same moment: the one
// that holds the guard endpoint launches, the others wait for the target
// to appear. The guard is a held endpoint name, so a launcher that dies
// lets go of it.
std::unique_ptr<InterAppStream> takeLaunchGuard(const Specifier& target, bool& running)
{
    SoString name = TesselTalkUtils::getLaunchQueueName(target);
    name << "#launching";
    const double deadline = TesselTalkUtils::getUTCTimeMilliSeconds() + kLaunchGuardMs;
    running = false;
    for (;;) {
        std::unique_ptr<InterAppStream> guard(new InterAppStream(name, false));
        if (guard->isGood()) {
            running = target.isRunning();
            return guard;
        }
        if (target.isRunning()) {
            running = true;
            return nullptr;
        }
        if (TesselTalkUtils::getUTCTimeMilliSeconds() >= deadline)
            return nullptr;
        TesselTalkUtils::sleep(kPollMs);
    }
}

} // namespace

bool TesselTalk::launchTarget(const char* spec, const SoString* params, Focus focus, TesselTalkContext* context)
{
    if (!spec || std::strlen(spec) >= kMaxSpecBytes || (params && params->length() >= kMaxParamsBytes))
        return false;
    if (!context)
        context = TesselTalkContext::getCurrentContext();
    TesselTalk* main = context ? context->getMainInstance() : nullptr;
    if (!main)
        return false;
    Specifier target(spec, true);
    if (target.isEmpty() || context->findInstance(target))
        return false;
    target.setSuffix("");
    if (target.isRunning())
        return true;

    SoString path = target.getApplicationPath();
    if (path.isEmpty()) {
        Specifier plain(target);
        plain.setInstance("");
        path = plain.getApplicationPath();
    }
    if (path.isEmpty())
        return false;

    SoString args("-specifier ");
    args << target << " -nostartupscreen";
    if (!target.instance().isEmpty())
        args << " -instance " << target.instance();
    if (params && !params->isEmpty())
        args << " " << *params;

    Specifier bare(target);
    bare.setInstance("");
    SoString key("LAUNCHPARAMS:");
    key << bare;
    MessagingThread* thread = context->getThread();
    if (thread) {
        thread->setKeyValuePair(key, args);
        thread->setTimeout(key, kLaunchKeySeconds);
    }
    const bool noParam = (params && std::strstr(params->c_str(), "-noparam")) || target == "folio-8.0";

    bool running = false;
    std::unique_ptr<InterAppStream> guard = takeLaunchGuard(target, running);
    if (running)
        return true;
    if (!guard) {
        if (thread)
            thread->setKeyValuePair(key, SoString());
        return false;
    }
    // The launcher queues the "LaunchParams" message for the target's launch
    // queue itself, together with the other two routes and their watches.
    unsigned long pid = 0;
    const bool launched = TesselTalkUtils::Launcher::launch(target, path, noParam ? nullptr : &args,
        focus == kFocusBackground ? TesselTalkUtils::kFocusBackground : TesselTalkUtils::kFocusFront, &pid);
    if (!launched) {
        if (thread)
            thread->setKeyValuePair(key, SoString());
        return false;
    }
    if (TesselTalkConnector* connector = context->getConnector())
        connector->setProcessID(target, pid);
    const double hold = TesselTalkUtils::getUTCTimeMilliSeconds() + kLaunchHoldMs;
    const SoString self = context->getAppSpecifier();
    while (!acceptsDeliveries(target, self) && TesselTalkUtils::Launcher::isProcessRunning(pid)
        && TesselTalkUtils::getUTCTimeMilliSeconds() < hold)
        TesselTalkUtils::sleep(kPollMs);
    return true;
}

bool TesselTalk::targetIsRunning(const char* spec)
{
    return spec && Specifier(spec, true).isRunning();
}

bool TesselTalk::bringToFront(const char* spec, TesselTalkContext*)
{
    if (!spec)
        return false;
    const SoString path = Specifier(spec, true).getApplicationPath();
    return !path.isEmpty() && TesselTalkUtils::Launcher::bringToFront(path.c_str(), TesselTalkUtils::kSearchAll).found;
}

} // namespace TesselTalk
} // namespace ScObjects
