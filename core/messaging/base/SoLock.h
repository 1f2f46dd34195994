// Recursive lock of the messaging system.
//
// Every SoLock is recursive: the thread that holds it may acquire it again
// and must release it as often. Constructing one takes part in the
// process-wide init counting of Thread::InitTerm, so the shared mutex
// attributes exist before the first lock does.
#pragma once

#include <pthread.h>

#include "SoHeap.h"

namespace ScObjects {

// The attributes every SoLock mutex and a thread's run mutex are made with;
// initialised by the first init and set recursive.
extern pthread_mutexattr_t gSoLockAttrs;

class SoLock : public SoHeap {
public:
    struct LockData;

    // Throws std::bad_alloc when the mutex cannot be had.
    SoLock();
    ~SoLock();
    SoLock(const SoLock&) = delete;
    SoLock& operator=(const SoLock&) = delete;

    void acquire();
    void release();

private:
    LockData* m_data;
};

} // namespace ScObjects
