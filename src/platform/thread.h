#pragma once

#include <cstdint>
#include <memory>

#include "platform/event.h"

namespace korvane::platform
{

class ThreadState;

/// Handle of one thread, as an operating system with forced ends has it. One owner, who serialises the calls.
///
/// **Giving a thread up.** `GiveUp` stops a thread that does not end by itself, and from its return on the
/// thread runs no more of the driver: whatever it used may be freed at once. No thread is torn out of the
/// middle of a call that may hold a lock of the C library or of the host. Instead, each call in which a
/// thread can stay for long is made inside an `AwayScope`: waits, socket and HTTP calls, name look-ups, and
/// calls into the host. A thread that is away when it is given up finishes that call, and on its way back is
/// halted for good at the end of the scope. One that is not away is halted at its next scope; one that
/// reaches none within `kGiveUpMs` (an endless loop) is halted where it stands, by a signal, as the last
/// resort.
///
/// A halted thread sleeps until the process ends. It keeps its stack and what stands on it, and the locks it
/// held; objects on its stack are never destroyed. The library stays mapped from then on,
/// even when the host unloads it.
class Thread
{
public:
    /// The body of a thread; what it gives is kept as the exit code. An exception ends the thread with 0.
    using Entry = std::uint32_t (*)(void* context);

    static constexpr std::uint32_t kGiveUpMs = 100; ///< how long `GiveUp` waits for a scope

    Thread() = default;
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;
    ~Thread() { Close(); }

    /// Runs `entry(context)` on a new thread with the default stack size. `name` is for debuggers and is cut
    /// to what the system takes. False if there is a handle already or no thread could be made.
    bool Start(Entry entry, void* context, const char* name);

    bool HasHandle() const { return state_ != nullptr; }

    /// The system's id of the thread; 0 without a handle. Stays the same until `Close`.
    std::uint32_t Id() const;

    /// Waits for the end of the thread, `timeoutMs` milliseconds at most. Fails without a handle. By the
    /// thread itself it can only time out.
    WaitResult Wait(std::uint32_t timeoutMs);

    /// What the entry gave; 0 before the end, and for a thread that was given up.
    std::uint32_t ExitCode() const;

    /// See above. Returns within `kGiveUpMs` and a little; the handle stays, and counts as ended. Not to be
    /// called by the thread itself.
    /// False if the thread had ended by itself.
    bool GiveUp();

    /// Lets go of the handle; a thread that still runs is left running on its own.
    void Close();

    static std::uint32_t CurrentId(); ///< the system's id of the calling thread; never 0

private:
    std::shared_ptr<ThreadState> state_;
};

/// A thread as others may remember it: whether it is the same one, and whether it was given up.
class ThreadMark
{
public:
    ThreadMark() = default; ///< no thread
    static ThreadMark Current();
    /// Never of a thread that no `Thread` started, nor of a mark that was made in an away scope: there the
    /// host calls, and goes on with its call also when the thread was given up.
    bool IsGivenUp() const;
    bool operator==(const ThreadMark& other) const { return id_ == other.id_; }

private:
    std::uint32_t id_ = 0;
    std::shared_ptr<ThreadState> state_;
};

/// Marks the stretch of a call in which the calling thread may stay for long. See `Thread`.
///
/// Between its construction and its end the code may touch only what stays alive without the driver: objects
/// on the thread's own stack or owned from there, and the host's. Scopes may nest, as when the host calls the
/// driver from inside a call: the outermost one counts. On threads that no `Thread` started it does nothing.
/// No lock is held here but those that `LockPlace` allows; debug builds check that.
class AwayScope
{
public:
    AwayScope();
    ~AwayScope(); ///< does not return on a thread that was given up
    AwayScope(const AwayScope&) = delete;
    AwayScope& operator=(const AwayScope&) = delete;

private:
    ThreadState* const state_;
};

} // namespace korvane::platform
