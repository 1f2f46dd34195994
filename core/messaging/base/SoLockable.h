// Base of every shared messaging object, and the scoped guard that locks it.
#pragma once

#include "SoHeap.h"
#include "SoLock.h"

namespace ScObjects {

class SoLockable : public SoHeap {
public:
    SoLockable();
    // A copy has a lock of its own; the lock itself is never copied.
    SoLockable(const SoLockable&);
    SoLockable& operator=(const SoLockable&) { return *this; }
    virtual ~SoLockable();

    SoLock& lock() const { return *m_lock; }

private:
    SoLock* m_lock;
};

// Holds the lockable's recursive lock for its own lifetime; the only way
// shared messaging objects are locked.
class ObjectLock {
public:
    explicit ObjectLock(const SoLockable& object)
        : m_lock(object.lock())
    {
        m_lock.acquire();
    }
    explicit ObjectLock(const SoLockable* object)
        : ObjectLock(*object)
    {
    }
    ~ObjectLock() { m_lock.release(); }
    ObjectLock(const ObjectLock&) = delete;
    ObjectLock& operator=(const ObjectLock&) = delete;

private:
    SoLock& m_lock;
};

} // namespace ScObjects
