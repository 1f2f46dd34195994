#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>
#include <vector>

#include "SoLockable.h"
#include "Thread.h"

using namespace ScObjects;

namespace {

struct Counter : SoLockable {
    long value = 0;
};

} // namespace

TEST(SoLock, IsRecursive)
{
    Counter c;
    ObjectLock outer(c);
    {
        ObjectLock inner(c);
        ObjectLock innermost(&c);
        ++c.value;
    }
    EXPECT_EQ(c.value, 1);
}

TEST(SoLock, SerialisesThreads)
{
    Counter c;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&c] {
            for (int i = 0; i < 10000; ++i) {
                ObjectLock guard(c);
                ObjectLock again(c);
                ++c.value;
            }
        });
    }
    for (std::thread& t : threads)
        t.join();
    EXPECT_EQ(c.value, 40000);
}

TEST(SoLock, CopiedLockableHasItsOwnLock)
{
    Counter a;
    Counter b(a);
    EXPECT_NE(&a.lock(), &b.lock());
    ObjectLock guardA(a);
    std::thread other([&b] { ObjectLock guardB(b); ++b.value; });
    other.join();
    EXPECT_EQ(b.value, 1);
}

TEST(ThreadInitTerm, SecondInitReturnsFalseAndLocksStayRecursive)
{
    // Locks made earlier have already counted, so this init is never the first.
    Counter made;
    EXPECT_FALSE(Thread::InitTerm::init());
    EXPECT_FALSE(Thread::InitTerm::init());
    EXPECT_FALSE(Thread::InitTerm::exit());
    EXPECT_FALSE(Thread::InitTerm::exit());
    Counter c;
    ObjectLock a(c);
    ObjectLock b(c);
    EXPECT_TRUE(pthread_equal(Thread::InitTerm::mainThreadID(), pthread_self()));
}

TEST(ThreadInitTermDeathTest, CountsFromAFreshProcess)
{
    // The threadsafe style re-runs the binary for this test alone, so no
    // lock has counted yet in the child.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            const bool first = Thread::InitTerm::init();
            const bool second = Thread::InitTerm::init();
            const bool notLast = Thread::InitTerm::exit();
            const bool last = Thread::InitTerm::exit();
            // A lock counts like an init that is never undone.
            Counter lockable;
            const bool afterLock = Thread::InitTerm::init();
            const bool stillHeld = Thread::InitTerm::exit();
            std::exit(first && !second && !notLast && last && !afterLock && !stillHeld ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}
