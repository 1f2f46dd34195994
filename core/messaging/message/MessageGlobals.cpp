#include "MessageGlobals.h"

#include <mutex>

namespace ScObjects {
namespace TesselTalkData {

namespace {

std::mutex gGlobalsMutex;
MessageGlobals* gGlobals = nullptr;

} // namespace

MessageGlobals& MessageGlobals::get()
{
    std::lock_guard<std::mutex> guard(gGlobalsMutex);
    if (!gGlobals)
        gGlobals = new MessageGlobals;
    return *gGlobals;
}

void MessageGlobals::release()
{
    std::lock_guard<std::mutex> guard(gGlobalsMutex);
    delete gGlobals;
    gGlobals = nullptr;
}

bool MessageGlobals::authentication() const
{
    ObjectLock guard(*this);
    return m_authentication;
}

void MessageGlobals::setAuthentication(bool on)
{
    ObjectLock guard(*this);
    m_authentication = on;
}

bool MessageGlobals::createDigest() const
{
    ObjectLock guard(*this);
    return m_createDigest;
}

void MessageGlobals::setCreateDigest(bool on)
{
    ObjectLock guard(*this);
    m_createDigest = on;
}

} // namespace TesselTalkData
} // namespace ScObjects
