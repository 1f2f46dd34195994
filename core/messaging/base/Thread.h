// Thread of the messaging system with a start handshake.
//
// The POSIX thread is created by the constructor but blocks on the start
// mutex until start() releases it, so run() never sees a half-built
// subclass. The constructing thread must call start(), because it holds the
// start mutex. run() must watch a flag of its own to end: stop() only tears
// down the run mutex and condition variable. Destroy a started thread only
// after its run() has returned (waitForRunExit()).
#pragma once

#include <pthread.h>

#include <atomic>

#include "SoLockable.h"

namespace ScObjects {

struct ThreadData : SoHeap {
    ThreadData() = default;
    // Destroys whatever of the three still exists, signalling the condition first.
    ~ThreadData();
    ThreadData(const ThreadData&) = delete;
    ThreadData& operator=(const ThreadData&) = delete;

    pthread_mutex_t* startMutex = nullptr;
    pthread_mutex_t* runMutex = nullptr;
    pthread_cond_t* condition = nullptr;
};

class Thread : public SoLockable {
public:
    static constexpr int kErrorCreate = 32;
    static constexpr int kErrorOutOfMemory = -28;
    static constexpr int kErrorException = -29;

    // Process-wide init counting. init() and exit() return whether this
    // call was the first init or the last exit. Call them from the main
    // thread, before any messaging thread exists.
    class InitTerm {
    public:
        static bool init();
        static bool exit();
        // The thread of the first init.
        static pthread_t mainThreadID();
    };

    Thread();
    virtual ~Thread();
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    virtual void run() = 0;
    // Joins the thread; true. A thread not yet started is released to end
    // without running.
    virtual bool waitForRunExit();
    virtual void runInit() {}
    virtual void runExit() {}
    // Sleeps the calling thread.
    virtual void wait(unsigned int ms);
    // Signals and frees the condition variable and the run mutex; true.
    virtual bool stop();
    // Releases the thread into run(); does nothing when creation failed.
    virtual void start();

    static void sleep(unsigned int ms);
    static pthread_t getCurrentID();

    // 0, kErrorCreate when the thread could not be made, or kErrorOutOfMemory
    // / kErrorException when run() ended by an exception.
    int errorCode() const { return m_error.load(); }
    bool isRunning() const { return m_running.load() != 0; }

private:
    static void* entry(void* self);
    void runThread();

    ThreadData* m_data;
    pthread_t m_thread;
    std::atomic<int> m_error;
    std::atomic<int> m_running;
    bool m_started = false;
    bool m_joined = false;
    std::atomic<bool> m_abandoned{false};
};

} // namespace ScObjects
