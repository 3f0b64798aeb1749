#include "runtime/recursive_lock.h"

#include <atomic>
#include <gtest/gtest.h>
#include <stdexcept>
#include <thread>
#include <vector>

#include "platform/thread.h"
#include "support/thread_watch.h"

namespace korvane
{

namespace
{

bool AnotherThreadCanEnter(CRecursiveLock& lock)
{
    bool entered = false;
    std::thread thread(
        [&]
        {
            entered = lock.TryEnter();
            if (entered)
                lock.Leave();
        });
    thread.join();
    return entered;
}

} // namespace

TEST(RecursiveLock, IsFreeOnlyAfterAsManyLeaves)
{
    CRecursiveLock lock;
    lock.Enter();
    EXPECT_TRUE(lock.TryEnter());
    lock.Enter();
    for (int left = 3; left > 0; --left)
    {
        EXPECT_FALSE(AnotherThreadCanEnter(lock)) << left;
        lock.Leave();
    }
    EXPECT_TRUE(AnotherThreadCanEnter(lock));
}

TEST(RecursiveLock, AGuardLeavesOnAnExceptionToo)
{
    CRecursiveLock lock;
    try
    {
        const CLockGuard guard(lock);
        EXPECT_FALSE(AnotherThreadCanEnter(lock));
        throw std::runtime_error("inside");
    }
    catch (const std::runtime_error&)
    {
    }
    EXPECT_TRUE(AnotherThreadCanEnter(lock));
}

TEST(RecursiveLock, WakesAThreadThatWentToSleep)
{
    CRecursiveLock lock;
    std::atomic<std::uint32_t> id{0};
    lock.Enter();
    std::thread thread(
        [&]
        {
            id = platform::Thread::CurrentId();
            id.notify_one();
            const CLockGuard guard(lock);
        });
    id.wait(0);
    EXPECT_TRUE(test::WaitUntilAsleep(id));
    lock.Leave();
    thread.join();
    EXPECT_TRUE(AnotherThreadCanEnter(lock));
}

// Short and long regions, entered once and twice: the count is right only if no two threads were ever inside.
TEST(RecursiveLock, LetsOneThreadInAtATime)
{
    constexpr int kThreads = 4;
    constexpr int kRounds = 3000;
    CRecursiveLock lock;
    int count = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
    {
        threads.emplace_back(
            [&]
            {
                for (int round = 0; round < kRounds; ++round)
                {
                    const CLockGuard guard(lock);
                    const int before = count;
                    if (round % 100 == 0)
                        std::this_thread::yield(); // others run into the taken lock
                    const CLockGuard again(lock);
                    count = before + 1;
                }
            });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(count, kThreads * kRounds);
    EXPECT_TRUE(AnotherThreadCanEnter(lock));
}

} // namespace korvane
