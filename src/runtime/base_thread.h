#pragma once

#include <cstdint>
#include <string>

#include "runtime/debug_message.h"
#include "runtime/event.h"
#include "runtime/simple_thread.h"

namespace korvane
{

/// A thread with a stop event. May be started again after each stop.
///
/// Any thread may start and stop; callers serialise that. A class that derives from it stops the thread in
/// its own destructor, before its members go.
class CBaseThread : public thread::CSimpleThread
{
public:
    /// `debug` is not owned, outlives the object, and may be null: then nothing is logged.
    explicit CBaseThread(IDebugMessage* debug);
    ~CBaseThread() override; ///< stops the thread within 2000 ms, by force if need be

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
};

} // namespace korvane
