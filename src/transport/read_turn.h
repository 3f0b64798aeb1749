#pragma once

#include <atomic>
#include <cstdint>

#include "runtime/event.h"

namespace korvane
{

/// Whose turn it is to read a socket, of a user's thread that reads for itself and a helper that stands by.
///
/// Handing each packet from a socket's thread to the user's costs more than reading it. So the user's thread
/// reads as long as it keeps up; the helper looks at it now and then, and when it finds it busy twice in a
/// row, it reads in its place, so that a slow user never holds up the socket. A user that has caught up gets
/// the turn back with the next datagrams.
class CReadTurn
{
public:
    /// The user is to read, and has not begun. While no thread of either side runs.
    void Reset();

    // The user's thread.

    /// True: the user reads now, until `EndReading`. False: the helper does, and is asked to give it back;
    /// `Event` is set when it has.
    bool TryBeginReading();
    void EndReading();
    CEvent& Event() { return givenBack_; }

    // The helper's thread.

    bool IsHelpers() const { return state_.load(std::memory_order_acquire) == kHelperReads; }
    /// One look at the user.
    void Look();
    /// After the helper has passed on what it read.
    void GiveBackIfWanted();

private:
    enum State : std::uint32_t
    {
        kUserBusy,
        kUserReads,
        kHelperReads,
    };

    std::atomic<std::uint32_t> state_{kUserBusy};
    std::atomic<bool> isWantedBack_{false};
    bool wasBusy_ = false; // at the helper's last look
    CEvent givenBack_{false};
};

} // namespace korvane
