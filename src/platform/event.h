#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>

namespace korvane::platform
{

inline constexpr std::uint32_t kInfinite = 0xFFFFFFFF; ///< a time-out that never runs out

enum class WaitResult
{
    kSignalled,
    kTimeout,
    kFailed, ///< the wait could not be made; waiting again would not help
};

/// An event as Windows has it, of manual or auto reset, made not signalled.
///
/// Costs no file descriptor. `Set` with nobody waiting and a look (`Wait` with 0) make no system call. Any
/// thread may call anything at any time; an event must outlive the calls made on it, but whoever saw it
/// signalled may destroy it while the `Set` that signalled it is still on its way out.
///
/// A set hands the event over: with an auto-reset event, exactly one waiter returns for each `Set` that finds
/// one waiting, and the event is left not signalled; without a waiter it stays signalled for the next wait.
/// All waiters of a manual-reset event return, even when it is reset before they run.
class Event
{
public:
    static constexpr std::size_t kMostEvents = 64; ///< in one `WaitForAny`

    explicit Event(bool manualReset) : manual_(manualReset) {}

    bool Set();   ///< true: this system knows no failure of it
    bool Reset(); ///< same

    /// True if the event was signalled within `timeoutMs` milliseconds, which resets an auto-reset event. 0
    /// only looks.
    bool Wait(std::uint32_t timeoutMs);

    /// Waits for any of 1 to `kMostEvents` events, no two of them the same; gives the index of the first
    /// signalled one in array order, and takes no other. -1 on a time-out, and for a null array, a null entry
    /// and a count out of range.
    static int WaitForAny(Event* const* events, std::size_t count, std::uint32_t timeoutMs);

private:
    class Waiter;
    struct Link;

    bool TryTake();
    const std::atomic<std::uint32_t>* HandOver();
    bool Join(Link& link);
    void Leave(Link& link);

    static constexpr std::uint32_t kSignalled = 1;
    static constexpr std::uint32_t kHasWaiters = 2; // changed under the mutex only

    const bool manual_;
    std::atomic<std::uint32_t> state_{0};
    std::mutex mutex_; // guards the list
    Link* first_ = nullptr;
    Link* last_ = nullptr;
};

} // namespace korvane::platform
