#pragma once

#include "platform/reserve.h"
#include "runtime/debug_message.h"
#include "runtime/event.h"
#include "runtime/guarded.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <list>
#include <utility>

namespace korvane
{

/// The set-ups of one channel's stream, with regard to what the process has left. Each begins with all
/// descriptors that the stream needs, or fails at once. One that fails for want of descriptors, threads,
/// memory or ports is told in one line, and the next is due after 5 s, doubling to 60 s. A stream that ends
/// makes that of the channel due that has waited longest.
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
    ~CSetUp();
    CSetUp(const CSetUp&) = delete;
    CSetUp& operator=(const CSetUp&) = delete;

    /// First of all: has what `read` says that the stream needs, and holds its threads for the first set-up.
    /// False if they are not to be had: then the channel's thread ends. Throws nothing.
    template <class Read>
    bool Prepare(Read&& read)
    {
        const platform::Reserve::Use use(reserve_);
        Begin();
        bool isPrepared = false;
        try
        {
            needs_ = std::forward<Read>(read)();
            isPrepared = reserve_.TakeThreads(needs_.threads + kSpareThreads);
        }
        catch (...)
        {
            platform::Reserve::Note(platform::Shortage::kMemory);
        }
        isPrepared_ = isPrepared;
        preparedEvent_.Set();
        return isPrepared;
    }

    /// On the host's thread: `start` starts the channel's thread. True if that has come about, and what
    /// `Prepare` gives on it. Tells why it is false.
    template <class Start>
    bool StartThread(Start&& start)
    {
        const platform::Reserve::Use use(reserve_);
        Begin();
        isPrepared_ = false;
        preparedEvent_.Reset();
        if (Guarded(false, std::forward<Start>(start)))
            preparedEvent_.Wait(kWaitForever);
        else
            platform::Reserve::Note(platform::Shortage::kMemory); // if it wasn't for want of a thread
        if (!isPrepared_)
            TellShortage();
        return isPrepared_;
    }

    /// Whether a set-up may be tried; not while it waits for what the process had not.
    bool IsDue();
    void MakeDue() { delayMs_ = 0; }
    CEvent& DueEvent() { return dueEvent_; } ///< comes when it is due before its time: then `MakeDue`

    /// Waits for the next look at the stream, `waitMs` or until it is due. True if the stop event came.
    bool WaitForStop(CManualEvent& stopEvent, std::uint32_t waitMs);

    /// One set-up: true if `work` gives true. An exception out of it is a want of memory.
    template <class Work>
    bool Try(Work&& work)
    {
        const platform::Reserve::Use use(reserve_);
        Begin();
        bool isDone = false;
        try
        {
            isDone = reserve_.TakeDescriptors(needs_.descriptors) && std::forward<Work>(work)();
        }
        catch (...)
        {
            platform::Reserve::Note(platform::Shortage::kMemory);
        }
        End(isDone);
        return isDone;
    }

    /// Within `Try`, before the first thread: holds those of the stream, or with `keep` the session's alone.
    bool TakeThreads(bool keep = false)
    {
        return reserve_.TakeThreads(keep ? std::min(needs_.threads, 1u) : needs_.threads);
    }

    /// Within `Try`: the stream runs, and the rest of `work` is no longer the set-up.
    void Succeed() { End(true); }

    /// For a thread other than the channel's that opens a part of the stream.
    platform::Reserve& GetReserve() { return reserve_; }

    /// The stream has ended for good, and all of it is closed. Any thread, after the channel's.
    void Close();

private:
    /// Held beside the stream's own until its first set-up is over: in a small address space their stacks
    /// keep the room that its heap will need.
    static constexpr std::uint32_t kSpareThreads = 2;

    void Begin();
    void End(bool isDone);
    void TellShortage() const;
    void Leave();
    void PassOn();

    IDebugMessage* const debug_;
    platform::Reserve reserve_;
    Needs needs_;
    bool isTrying_ = false;
    bool isOpen_ = false;              // the last set-up has succeeded
    bool wasOpen_ = false;             // and the one before it
    std::atomic<bool> isWoken_{false}; // by a stream that ended
    bool isPrepared_ = false;
    CEvent preparedEvent_{false};
    CEvent dueEvent_{false};
    std::uint32_t delayMs_ = 0;      // of the wait; 0 when there is none
    std::uint32_t lastDelayMs_ = 0;  // 0 after a success
    std::uint32_t sinceMs_ = 0;      // tick when the wait began
    std::list<CSetUp*> place_{this}; // is moved into the queue of those that wait, which needs no memory then
};

} // namespace korvane
