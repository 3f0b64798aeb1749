#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <pthread.h>

#include "platform/event.h"
#include "platform/thread.h"

namespace korvane::platform
{

/// What a thread and its handle share. Kept alive by both: a halted thread keeps it for good.
class ThreadState : public std::enable_shared_from_this<ThreadState>
{
public:
    static ThreadState* Current(); ///< null on a thread that no `Thread` started

    /// Same, and null in an away scope, from where the host may have called the driver: such a call is the
    /// host's own, and goes on also when the thread was given up meanwhile.
    static ThreadState* CurrentUnlessAway();

    void EnterAway();
    void LeaveAway();

    bool IsGivenUp() const
    {
        const std::uint32_t phase = phase_.load(std::memory_order_acquire);
        return phase == kGivenUp || phase == kHalted;
    }
    bool GiveUp();

    /// A new thread that waits for its work; null if none can be made.
    static std::shared_ptr<ThreadState> Launch();
    void Begin(Thread::Entry entry, void* context, const char* name);
    void Dismiss(); ///< instead of `Begin`: waits until the thread has gone

    std::atomic<std::uint32_t> id{0}; ///< 0 until the thread runs
    std::atomic<std::uint32_t> exitCode{0};
    Event ended{true};
    pthread_t handle{};

private:
    enum Phase : std::uint32_t
    {
        kInside,  // runs code of the driver
        kAway,    // in an away scope
        kGivenUp, // asked to halt, and is to do so at its next scope
        kHalted,  // runs no more code of the driver
        kEnded,   // left the entry by itself
    };

    static void* Run(void* statePointer);
    [[noreturn]] static void SleepForGood();
    static void OnHaltSignal(int signal);
    void HaltBySignal();

    std::atomic<std::uint32_t> phase_{kInside};
    std::uint32_t awayDepth_ = 0; // the thread's own
    Thread::Entry entry_ = nullptr;
    void* context_ = nullptr;
    Event begin_{true};
};

} // namespace korvane::platform
