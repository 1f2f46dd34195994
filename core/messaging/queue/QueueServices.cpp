#include "QueueServices.h"

#include <atomic>

namespace ScObjects {
namespace TesselTalkData {

namespace {

std::atomic<QueueServices*> gServices{nullptr};

} // namespace

void setQueueServices(QueueServices* services)
{
    gServices.store(services);
}

QueueServices* getQueueServices()
{
    return gServices.load();
}

} // namespace TesselTalkData
} // namespace ScObjects
