#pragma once

#include <algorithm>
#include <cstdint>
#include <string>

#include "platform/thread.h"
#include "runtime/debug_message.h"
#include "runtime/event.h"

namespace korvane
{

/// How every thread of the driver is ended, once its stop event or flag is set: calls `interrupt`, which ends
/// whatever the thread may be waiting in, and waits for the thread. It does so again every 100 ms, for the
/// thread may just have looked at its stop event and then begun another long call.
///
/// True when the thread has ended; false after `limitMs` (`kWaitForever`: never). What comes then is up to
/// the thread's owner: to give it up, or to wait on. No lock is held here; debug builds check that.
template <class Interrupt>
bool EndThread(platform::Thread& thread, std::uint32_t limitMs, Interrupt&& interrupt)
{
    constexpr std::uint32_t kStepMs = 100;
    for (std::uint32_t leftMs = limitMs;;)
    {
        interrupt();
        const std::uint32_t stepMs = std::min(leftMs, kStepMs);
        if (thread.Wait(stepMs) != platform::WaitResult::kTimeout)
            return true;
        if (limitMs != kWaitForever)
            leftMs -= stepMs;
        if (leftMs == 0)
            return false;
    }
}

namespace thread
{

/// A thread without a stop event and without a bound: a join waits for as long as it takes.
class CSimpleThread
{
public:
    virtual void Run() = 0; ///< the thread's body; an exception out of it ends the thread
    virtual ~CSimpleThread() = default;

protected:
    /// False if the thread still runs or can't be made. `name` is for debuggers and messages.
    bool StartThread(const std::string& name);

    /// Waits for the thread's end, unless called on it, and lets go of it. False if there was none.
    bool JoinThread();

    /// Ends what the thread may be waiting in. Comes from the thread that stops it, again and again until it
    /// has ended or was given up; does nothing here.
    virtual void OnStopRequested() {}

    bool IsOwnThread() const { return thread_.Id() == platform::Thread::CurrentId(); }
    bool EndsWithin(std::uint32_t timeoutMs); ///< also true without a thread

    std::string name_;
    platform::Thread thread_;
};

} // namespace thread

/// A thread with a stop event. May be started again after each stop.
///
/// Any thread may start and stop; callers serialise that. A class that derives from it stops the thread in
/// its own destructor, before its members go.
class CBaseThread : public thread::CSimpleThread
{
public:
    /// `debug` is not owned, outlives the object, and may be null: then nothing is logged.
    explicit CBaseThread(IDebugMessage* debug) : debug_(debug) {}
    ~CBaseThread() override { CBaseThread::StopThread(2000); } ///< by force if need be

    /// Resets the stop event, and starts the thread. False if it still runs or can't be made. `name` stands
    /// in messages.
    virtual bool StartThread(const std::string& name);

    /// Sets the stop event and waits for the thread's end, with a message when that takes longer than
    /// `timeoutMs`, and then for as long as it takes. False, without waiting, only on the thread itself.
    virtual bool JoinThread(std::uint32_t timeoutMs);

    /// Same, but a thread that has not ended after `timeoutMs` is given up, with a message: it never runs
    /// again (platform/thread.h); what it held stays held.
    virtual bool StopThread(std::uint32_t timeoutMs);

    /// Set by both stops; may be set ahead of them. `Run` ends soon after.
    CManualEvent& StopEvent() { return stopEvent_; }

protected:
    bool IsStopping() { return stopEvent_.Wait(0); }

    IDebugMessage* const debug_;
    CManualEvent stopEvent_;

private:
    void TellNotStopped(const char* function, std::uint32_t timeoutMs, const char* end) const;
};

} // namespace korvane
