#include "LaunchParams.h"

#include <unistd.h>

#include "LaunchServices.h"
#include "Message.h"
#include "TesselTalkUtils.h"

namespace ScObjects {
namespace TesselTalkUtils {

namespace {

constexpr int kPollSeconds = 4;
constexpr int kPidRouteSeconds = 10;
constexpr int kQueueRouteSeconds = 200;

} // namespace

SoString getLaunchQueueName(const TesselTalk::Specifier& spec)
{
    SoString name = spec.appName();
    const SoString version = spec.version();
    if (!version.isEmpty())
        name << '-' << version;
    return name;
}

bool receiveLaunchParams(const SoString& portName, SoString& params, int maxSeconds)
{
    LaunchEndpoints* endpoints = getLaunchEndpoints();
    std::unique_ptr<LaunchInbox> inbox = endpoints ? endpoints->open(portName) : nullptr;
    if (!inbox)
        return true;
    for (int waited = 0;; waited += kPollSeconds) {
        SoString text;
        if (inbox->take(text)) {
            TesselTalk::Message message;
            message.readFromString(text.c_str(), text.length());
            params = message.getBody();
            return true;
        }
        if (waited >= maxSeconds)
            return false;
        TesselTalkUtils::sleep(kPollSeconds * 1000);
    }
}

bool getLaunchParameters(const char* appSpec, SoString& params)
{
    params = SoString();
    const TesselTalk::Specifier spec(appSpec, true);
    if (spec.isEmpty())
        return false;
    const SoString queueName = getLaunchQueueName(spec);
    SoString offer(queueName);
    offer << "#haslaunchparams";
    LaunchEndpoints* endpoints = getLaunchEndpoints();
    if (!endpoints || endpoints->canCreateLocally(offer))
        return true;

    SoString ownPort = spec.appName();
    ownPort << '#' << static_cast<unsigned long>(getpid());
    if (receiveLaunchParams(ownPort, params, kPidRouteSeconds))
        return true;
    return receiveLaunchParams(queueName, params, kQueueRouteSeconds);
}

} // namespace TesselTalkUtils
} // namespace ScObjects
