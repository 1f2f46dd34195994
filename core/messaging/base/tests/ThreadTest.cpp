#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <new>
#include <stdexcept>

#include "Thread.h"

using namespace ScObjects;

namespace {

class Worker : public Thread {
public:
    enum class Ending { Normally, OutOfMemory, Exception };
    explicit Worker(Ending ending = Ending::Normally) : m_ending(ending) {}
    ~Worker() override { waitForRunExit(); }

    void runInit() override { order += "i"; }
    void run() override
    {
        order += "r";
        ranOn = getCurrentID();
        ran = true;
        if (m_ending == Ending::OutOfMemory)
            throw std::bad_alloc();
        if (m_ending == Ending::Exception)
            throw std::runtime_error("boom");
    }
    void runExit() override { order += "x"; }

    std::string order;
    std::atomic<bool> ran{false};
    pthread_t ranOn{};

private:
    Ending m_ending;
};

} // namespace

TEST(Thread, RunsOnlyAfterStart)
{
    Worker w;
    EXPECT_EQ(w.errorCode(), 0);
    Thread::sleep(50);
    EXPECT_FALSE(w.ran);
    w.start();
    w.waitForRunExit();
    EXPECT_TRUE(w.ran);
    EXPECT_EQ(w.order, "irx");
    EXPECT_FALSE(pthread_equal(w.ranOn, pthread_self()));
    EXPECT_FALSE(w.isRunning());
    EXPECT_TRUE(w.stop());
}

TEST(Thread, ExceptionsBecomeErrorCodes)
{
    struct Row { Worker::Ending ending; int code; };
    const Row rows[] = {
        {Worker::Ending::Normally, 0},
        {Worker::Ending::OutOfMemory, Thread::kErrorOutOfMemory},
        {Worker::Ending::Exception, Thread::kErrorException},
    };
    for (const Row& row : rows) {
        Worker w(row.ending);
        w.start();
        w.waitForRunExit();
        EXPECT_EQ(w.errorCode(), row.code);
        EXPECT_EQ(w.order, "irx") << "runExit must run whatever the ending";
    }
}

TEST(Thread, NeverStartedThreadIsReleasedWithoutRunning)
{
    std::atomic<bool>* ran = nullptr;
    {
        Worker w;
        ran = &w.ran;
        EXPECT_FALSE(*ran);
    }
    SUCCEED() << "destruction of an unstarted thread did not hang";
}

TEST(Thread, StopBeforeExitDoesNotDisturbTheRun)
{
    Worker w;
    w.start();
    EXPECT_TRUE(w.stop());
    w.waitForRunExit();
    EXPECT_EQ(w.order, "irx");
}

TEST(Thread, SleepWaitsAtLeastTheGivenTime)
{
    const auto before = std::chrono::steady_clock::now();
    Thread::sleep(1100);
    const auto elapsed = std::chrono::steady_clock::now() - before;
    EXPECT_GE(elapsed, std::chrono::milliseconds(1100));
    EXPECT_LT(elapsed, std::chrono::milliseconds(1600));
}
