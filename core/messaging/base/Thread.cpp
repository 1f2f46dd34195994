#include "Thread.h"

#include <time.h>

#include <new>

#include "SoInit_p.h"

namespace ScObjects {

namespace {

template <typename T>
void freeObject(T*& object)
{
    SoHeap::freeHeap(object);
    object = nullptr;
}

} // namespace

ThreadData::~ThreadData()
{
    if (startMutex) {
        pthread_mutex_destroy(startMutex);
        freeObject(startMutex);
    }
    if (runMutex) {
        pthread_mutex_destroy(runMutex);
        freeObject(runMutex);
    }
    if (condition) {
        pthread_cond_signal(condition);
        pthread_cond_destroy(condition);
        freeObject(condition);
    }
}

Thread::Thread()
    : m_data(nullptr)
    , m_thread()
    , m_error(0)
    , m_running(0)
{
    detail::initStep();
    m_data = new ThreadData;
    m_data->startMutex = static_cast<pthread_mutex_t*>(mallocHeap(sizeof(pthread_mutex_t)));
    if (!m_data->startMutex) {
        m_error = kErrorCreate;
        return;
    }
    pthread_mutex_init(m_data->startMutex, nullptr);
    if (pthread_mutex_lock(m_data->startMutex) != 0) {
        pthread_mutex_destroy(m_data->startMutex);
        freeObject(m_data->startMutex);
        m_error = kErrorCreate;
        return;
    }
    if (pthread_create(&m_thread, nullptr, &Thread::entry, this) != 0) {
        pthread_mutex_unlock(m_data->startMutex);
        pthread_mutex_destroy(m_data->startMutex);
        freeObject(m_data->startMutex);
        m_error = kErrorCreate;
    }
}

Thread::~Thread()
{
    waitForRunExit();
    delete m_data;
}

void* Thread::entry(void* self)
{
    static_cast<Thread*>(self)->runThread();
    return nullptr;
}

void Thread::runThread()
{
    m_running = 1;
    // Blocks until start() unlocks it.
    pthread_mutex_lock(m_data->startMutex);
    pthread_mutex_unlock(m_data->startMutex);
    {
        ObjectLock guard(*this);
        pthread_mutex_destroy(m_data->startMutex);
        freeObject(m_data->startMutex);
        m_data->runMutex = static_cast<pthread_mutex_t*>(mallocHeap(sizeof(pthread_mutex_t)));
        if (m_data->runMutex)
            pthread_mutex_init(m_data->runMutex, &gSoLockAttrs);
        m_data->condition = static_cast<pthread_cond_t*>(mallocHeap(sizeof(pthread_cond_t)));
        if (m_data->condition)
            pthread_cond_init(m_data->condition, nullptr);
    }
    if (!m_abandoned) {
        try {
            runInit();
            run();
        } catch (const std::bad_alloc&) {
            m_error = kErrorOutOfMemory;
        } catch (...) {
            m_error = kErrorException;
        }
    }
    m_running = 0;
    if (!m_abandoned)
        runExit();
    ObjectLock guard(*this);
    if (m_data->condition)
        pthread_cond_signal(m_data->condition);
}

void Thread::start()
{
    if (m_error != 0 || m_started)
        return;
    m_started = true;
    pthread_mutex_unlock(m_data->startMutex);
}

bool Thread::stop()
{
    ObjectLock guard(*this);
    if (m_data->condition) {
        pthread_cond_signal(m_data->condition);
        pthread_cond_destroy(m_data->condition);
        freeObject(m_data->condition);
    }
    if (m_data->runMutex) {
        pthread_mutex_destroy(m_data->runMutex);
        freeObject(m_data->runMutex);
    }
    return true;
}

bool Thread::waitForRunExit()
{
    if (m_error != kErrorCreate && !m_started) {
        // Nobody will start it now: release it so that it ends without running.
        m_abandoned = true;
        start();
    }
    if (!m_joined && m_error != kErrorCreate) {
        m_joined = true;
        pthread_join(m_thread, nullptr);
    }
    return true;
}

void Thread::wait(unsigned int ms)
{
    sleep(ms);
}

void Thread::sleep(unsigned int ms)
{
    timespec delay;
    delay.tv_sec = time_t(ms / 1000);
    delay.tv_nsec = long(ms % 1000) * 1000000L;
    while (nanosleep(&delay, &delay) != 0) {
    }
}

pthread_t Thread::getCurrentID()
{
    return pthread_self();
}

} // namespace ScObjects
