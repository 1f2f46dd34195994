#include "SoLock.h"

#include <mutex>
#include <new>

#include "SoInit_p.h"
#include "Thread.h"

namespace ScObjects {

pthread_mutexattr_t gSoLockAttrs;

namespace {

// Locks are made on any thread, so the counting itself is serialised even
// though init() and exit() belong to the main thread.
std::mutex& initMutex()
{
    static std::mutex m;
    return m;
}

unsigned long gInitCount = 0;
pthread_t gMainThread;

} // namespace

namespace detail {

bool initStep()
{
    std::lock_guard<std::mutex> guard(initMutex());
    if (gInitCount++ != 0)
        return false;
    gMainThread = pthread_self();
    pthread_mutexattr_init(&gSoLockAttrs);
    pthread_mutexattr_settype(&gSoLockAttrs, PTHREAD_MUTEX_RECURSIVE);
    return true;
}

bool exitStep()
{
    std::lock_guard<std::mutex> guard(initMutex());
    if (gInitCount == 0 || --gInitCount != 0)
        return false;
    pthread_mutexattr_destroy(&gSoLockAttrs);
    return true;
}

} // namespace detail

bool Thread::InitTerm::init()
{
    return detail::initStep();
}

bool Thread::InitTerm::exit()
{
    return detail::exitStep();
}

pthread_t Thread::InitTerm::mainThreadID()
{
    std::lock_guard<std::mutex> guard(initMutex());
    return gMainThread;
}

struct SoLock::LockData : SoHeap {
    pthread_mutex_t mutex;
};

SoLock::SoLock()
{
    // Never undone: the attributes must outlive every lock made from them.
    detail::initStep();
    m_data = new LockData;
    {
        std::lock_guard<std::mutex> guard(initMutex());
        if (pthread_mutex_init(&m_data->mutex, &gSoLockAttrs) != 0) {
            delete m_data;
            throw std::bad_alloc();
        }
    }
}

SoLock::~SoLock()
{
    pthread_mutex_destroy(&m_data->mutex);
    delete m_data;
}

void SoLock::acquire()
{
    pthread_mutex_lock(&m_data->mutex);
}

void SoLock::release()
{
    pthread_mutex_unlock(&m_data->mutex);
}

} // namespace ScObjects
