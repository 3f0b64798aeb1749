#pragma once

#include "platform/reserve.h"
#include "runtime/debug_message.h"

#include <cstdint>
#include <functional>

namespace korvane
{

/// The set-ups of one channel's stream, with regard to what the process has left. Each begins with all
/// descriptors that the stream needs, or fails at once. One that fails for want of descriptors, threads,
/// memory or ports is told in one line, and the next is due after 5 s, doubling to 60 s, or when another
/// stream of the process has ended and left enough for this one.
///
/// All of it is called on the channel's thread, unless told otherwise.
class CSetUp
{
public:
    /// What one stream needs: descriptors at the most at once, and threads beside the channel's.
    struct Needs
    {
        std::uint32_t descriptors = 0;
        std::uint32_t threads = 0;
    };

    /// `debug` outlives the object.
    explicit CSetUp(IDebugMessage* debug) : debug_(debug) {}
    ~CSetUp() { Close(); }

    /// On the host's thread: `start` starts the channel's thread, once the process has it and those that the
    /// stream needs, as `read` says; these are held for the first set-up. False if any of it fails.
    bool StartThread(const std::function<Needs()>& read, const std::function<bool()>& start);

    /// Whether a set-up may be tried, which is to follow then; not while it waits for what the process had
    /// not. To be asked once a second or so.
    bool IsDue();
    void MakeDue() { isShort_ = false; }

    /// Whether the last set-up failed for want of what the process had not.
    bool IsShort() const { return isShort_; }

    /// One set-up: true if `work` gives true. An exception out of it is a failure as any other.
    bool Try(const std::function<bool()>& work);

    /// Within `Try`, before the first thread: holds those of the stream, or with `keep` the session's alone.
    bool TakeThreads(bool keep = false);

    /// Within `Try`: the stream runs, and the rest of `work` is no longer the set-up.
    void Succeed();

    /// For a thread other than the channel's that opens a part of the stream.
    platform::Reserve* GetReserve() { return &reserve_; }

    /// The stream has ended for good, and all of it is closed. Any thread, after the channel's.
    void Close();

private:
    bool HoldsAll();
    void Fail(bool wasOpen);
    void TellShortage(bool isStarted) const;

    IDebugMessage* const debug_;
    platform::Reserve reserve_;
    Needs needs_;
    bool isOpen_ = false;
    bool isShort_ = false;
    std::uint32_t delayMs_ = 0;  // of the last wait; 0 after a success
    std::uint32_t sinceMs_ = 0;  // tick when the wait began
    std::uint32_t seenEnds_ = 0; // of other streams
};

} // namespace korvane
