#pragma once

#include <cstdint>
#include <string>

#include "platform/thread.h"
#include "runtime/debug_message.h"
#include "runtime/event.h"

namespace korvane
{

/// A thread with a stop event. May be started again after each stop.
///
/// Any thread may start and stop; callers serialise that. A class that derives from it stops the thread in
/// its own destructor, before its members go.
class CBaseThread
{
public:
    /// `debug` is not owned, outlives the object, and may be null: then nothing is logged.
    explicit CBaseThread(IDebugMessage* debug);
    virtual ~CBaseThread(); ///< stops the thread within 2000 ms, by force if need be
    CBaseThread(const CBaseThread&) = delete;
    CBaseThread& operator=(const CBaseThread&) = delete;

    /// Resets the stop event, and starts the thread. False if it still runs or can't be made. `name` stands
    /// in messages.
    virtual bool StartThread(const std::string& name);

    /// Sets the stop event and waits for the thread's end, with a message when that takes longer than
    /// `timeoutMs`, and then for as long as it takes. False, without waiting, only on the thread itself.
    virtual bool JoinThread(std::uint32_t timeoutMs);

    /// Same, but a thread that has not ended after `timeoutMs` is given up, with a message: it never runs
    /// again (platform/thread.h); what it held stays held.
    virtual bool StopThread(std::uint32_t timeoutMs);

    /// The thread's body: ends soon after the stop event is set. An exception out of it ends the thread.
    virtual void Run() = 0;

    /// Set by both stops; may be set ahead of them.
    CManualEvent& StopEvent() { return stopEvent_; }

protected:
    bool IsStopping() { return stopEvent_.Wait(0); }

    /// Ends what the thread may be waiting in, if the stop event does not. Comes from the thread that stops
    /// it, again and again until the thread has ended or was given up; does nothing here.
    virtual void OnStopRequested() {}
    const std::string& ThreadName() const { return name_; }

    IDebugMessage* const debug_;
    CManualEvent stopEvent_;

private:
    enum class Stop
    {
        kDone,
        kByItself, // the thread asked for its own end
        kTimeout,
    };
    Stop AskToStop(std::uint32_t timeoutMs);
    static std::uint32_t Entry(void* context);

    std::string name_;
    platform::Thread thread_;
};

} // namespace korvane
