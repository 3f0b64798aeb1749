#pragma once

#include <atomic>
#include <cstdint>

#include "runtime/event.h"

namespace korvane
{

class CReadWatch;

/// Whose turn it is to read a socket: its own thread's, or that of a user to whom it is lent.
///
/// Handing each packet from a socket's thread to the user's costs more than reading it. So the user's thread
/// reads for itself, and the socket's thread sleeps. What may go wrong is that the user stays long with one
/// packet: then the watch (`CReadWatch`) takes the socket away and wakes its thread, which reads until the
/// user has asked for it back and something has arrived.
///
///                EndReading                     Look, at the second one at the same packet
///     kLent  ------------------>  kDelivering  ------------------------------------------->  kTaken
///            <------------------       ^                                                       |
///              TryBeginReading         |                                                       |
///                                      +-----------------------  kWanted  <--------------------+
///                                           GiveBackIfWanted               TryBeginReading
///
/// In `kLent` the user's thread is in the socket or about to be, in `kTaken` and `kWanted` the socket's
/// thread is, in `kDelivering` nobody. Each edge belongs to one thread; the watch and the user compete for
/// those out of `kDelivering`.
class CReadTurn
{
public:
    /// Lent, and not begun. While no thread of either side runs and no watch looks.
    void Reset();

    // The user's thread.

    /// True: the user may read, until `EndReading`. False: the socket's thread does, and is asked to give the
    /// socket back; `GivenBack` is set when it has.
    bool TryBeginReading();
    void EndReading(); ///< before the first packet of what was read is looked at; wakes the watch
    CEvent& GivenBack() { return givenBack_; }

    /// Before each packet that the user looks at, whoever has read it.
    void BeginPacket()
    {
        packets_.store(packets_.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    }

    // The socket's thread.

    bool IsTaken() const { return state_.load(std::memory_order_acquire) >= kTaken; }
    CEvent& Taken() { return taken_; } ///< set when the socket has been taken from the user
    void GiveBackIfWanted();           ///< after what was read has been passed on

    // The watch.

    /// One look at the user. True if the user has packets: another look is wanted.
    bool Look();
    bool IsDelivering() const { return state_.load() == kDelivering; }

private:
    friend class CReadWatch; // sets `watch_`

    enum State : std::uint32_t
    {
        kLent,
        kDelivering,
        kTaken,
        kWanted,
    };

    std::atomic<std::uint32_t> state_{kLent};
    std::atomic<std::uint32_t> packets_{0}; // begun by the user; wraps
    CEvent taken_{false};
    CEvent givenBack_{false};
    CReadWatch* watch_ = nullptr; // to be woken when the user has packets
    // The watch's own:
    std::uint32_t packetsSeen_ = 0; // at the last look
    bool wasDelivering_ = false;    // then
};

} // namespace korvane
