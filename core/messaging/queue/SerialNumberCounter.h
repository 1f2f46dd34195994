// The serial-number counter of one messaging context.
//
// A new counter starts at the last serial number issued anywhere in the
// process (which starts at 1), so the first serial of a new context repeats
// the last one issued before it: answers already on their way keep matching.
#pragma once

#include "SoLockable.h"

namespace ScObjects {
namespace TesselTalkData {

class SerialNumberCounter : public SoLockable {
public:
    SerialNumberCounter();

    // Returns the counter and increments it; the returned value becomes the
    // process-wide last serial number. Any thread.
    unsigned long getNextSerialNumber();

    static unsigned long lastSerialNumber();

private:
    unsigned long m_next;
};

} // namespace TesselTalkData
} // namespace ScObjects
