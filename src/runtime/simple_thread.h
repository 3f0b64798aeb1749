#pragma once

#include <cstdint>
#include <string>

#include "platform/thread.h"

namespace korvane::thread
{

/// A thread without a stop event and without a bound: a join waits for as long as it takes.
class CSimpleThread
{
public:
    CSimpleThread() = default;
    CSimpleThread(const CSimpleThread&) = delete;
    CSimpleThread& operator=(const CSimpleThread&) = delete;

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

} // namespace korvane::thread
