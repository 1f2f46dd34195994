// Process-wide message settings: whether digests are verified on read and
// written on write. Both on by default.
#pragma once

#include "SoLockable.h"

namespace ScObjects {
namespace TesselTalkData {

class MessageGlobals : public SoLockable {
public:
    // The globals, created on first use. Any thread.
    static MessageGlobals& get();
    // Drops the globals at the messaging system's exit; the next get()
    // starts again from the defaults. Call when no other thread uses them.
    static void release();

    bool authentication() const;
    void setAuthentication(bool on);
    bool createDigest() const;
    void setCreateDigest(bool on);

private:
    MessageGlobals() = default;

    bool m_authentication = true;
    bool m_createDigest = true;
};

} // namespace TesselTalkData
} // namespace ScObjects
