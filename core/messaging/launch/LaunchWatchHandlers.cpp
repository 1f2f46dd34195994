#include "LaunchWatchHandlers.h"

namespace ScObjects {
namespace TesselTalkUtils {

LaunchTimeoutMsgHandler::LaunchTimeoutMsgHandler(const SoString& key, unsigned long serial,
    const SoString& launchQueueName)
    : m_key(key)
    , m_serial(serial)
{
    LaunchEndpoints* endpoints = getLaunchEndpoints();
    SoString name(launchQueueName);
    name << "#haslaunchparams";
    if (endpoints)
        m_endpoint = endpoints->open(name);
}

long LaunchTimeoutMsgHandler::handleMessage(int, TesselTalk::Message&, SoString* result)
{
    m_endpoint.reset();
    if (LaunchHost* host = getLaunchHost())
        host->removeWatch("Received", m_serial);
    if (result)
        *result = "LAUNCHED";
    return 0;
}

LaunchReceivedMsgHandler::LaunchReceivedMsgHandler(unsigned long serial)
    : m_serial(serial)
{
}

void LaunchReceivedMsgHandler::addCompanions(const std::vector<unsigned long>& serials)
{
    m_companions.insert(m_companions.end(), serials.begin(), serials.end());
}

long LaunchReceivedMsgHandler::handleMessage(int, TesselTalk::Message&, SoString*)
{
    LaunchHost* host = getLaunchHost();
    if (!host)
        return 0;
    host->removeWatch("Timeout", m_serial);
    for (unsigned long companion : m_companions) {
        host->removeWatch("Timeout", companion);
        host->removeQueuedMessages(companion);
    }
    return 0;
}

} // namespace TesselTalkUtils
} // namespace ScObjects
