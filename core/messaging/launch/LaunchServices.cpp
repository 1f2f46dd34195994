#include "LaunchServices.h"

#include <atomic>

namespace ScObjects {
namespace TesselTalkUtils {

namespace {

std::atomic<LaunchEndpoints*> gEndpoints{nullptr};
std::atomic<LaunchHost*> gHost{nullptr};

} // namespace

void setLaunchEndpoints(LaunchEndpoints* endpoints)
{
    gEndpoints.store(endpoints);
}

LaunchEndpoints* getLaunchEndpoints()
{
    return gEndpoints.load();
}

void setLaunchHost(LaunchHost* host)
{
    gHost.store(host);
}

LaunchHost* getLaunchHost()
{
    return gHost.load();
}

} // namespace TesselTalkUtils
} // namespace ScObjects
