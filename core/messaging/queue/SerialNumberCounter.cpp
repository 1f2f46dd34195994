#include "SerialNumberCounter.h"

#include <atomic>

namespace ScObjects {
namespace TesselTalkData {

namespace {

std::atomic<unsigned long> gLastSerialNumber{1};

} // namespace

SerialNumberCounter::SerialNumberCounter()
    : m_next(gLastSerialNumber.load())
{
}

unsigned long SerialNumberCounter::getNextSerialNumber()
{
    ObjectLock guard(*this);
    const unsigned long serial = m_next++;
    gLastSerialNumber.store(serial);
    return serial;
}

unsigned long SerialNumberCounter::lastSerialNumber()
{
    return gLastSerialNumber.load();
}

} // namespace TesselTalkData
} // namespace ScObjects
