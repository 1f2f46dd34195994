// Process-wide init counting shared by SoLock and Thread.
#pragma once

namespace ScObjects {
namespace detail {

// One counting step: increments the counter and, when it goes from 0 to 1,
// records the calling thread as the main thread and makes gSoLockAttrs
// recursive. Returns whether this was that first step.
bool initStep();
// Decrements the counter (never below 0) and destroys gSoLockAttrs when it
// reaches 0. Returns whether it did.
bool exitStep();

} // namespace detail
} // namespace ScObjects
