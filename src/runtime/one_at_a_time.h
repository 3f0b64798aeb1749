#pragma once

#include "platform/thread.h"
#include "runtime/event.h"
#include "runtime/recursive_lock.h"

#include <cstdint>

namespace korvane
{

/// Lets one thread at a time into the start or the stop of an object, which may wait for long: it takes the
/// place of a lock, which is never held across a wait. A second thread waits until the first has left, or was
/// given up inside (platform/thread.h); then it does the whole stop again, so a stop has to bear that. The
/// thread inside may enter again.
class COneAtATime
{
public:
    /// In from the construction to the end of the scope.
    class Turn
    {
    public:
        explicit Turn(COneAtATime& place) : place_(place) { place_.Enter(); }
        ~Turn() { place_.Leave(); }
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;

    private:
        COneAtATime& place_;
    };

private:
    void Enter();
    bool TryEnter();
    void Leave();

    CRecursiveLock lock_; // guards the next two
    platform::ThreadMark inside_;
    std::uint32_t depth_ = 0;
    CEvent left_{false};
};

} // namespace korvane
