#pragma once

#include <cstdint>
#include <string>

#include "runtime/base_thread.h"

namespace korvane
{

/// Calls `OnTick` on a thread of its own, with the tick interval from the end of one call to the next.
class CTickThread : public CBaseThread
{
public:
    explicit CTickThread(IDebugMessage* debug) : CBaseThread(debug) {}

    /// As `StartThread`, but the first tick comes at once; also after each later start.
    bool StartThreadWithFirstTick(const std::string& name)
    {
        firstTick_ = true;
        return StartThread(name);
    }

    /// 2000 ms unless set. Between runs of the thread only.
    void SetTickInterval(std::uint32_t intervalMs) { intervalMs_ = intervalMs; }

    void Run() override
    {
        if (firstTick_)
            OnTick();
        while (!stopEvent_.Wait(intervalMs_))
            OnTick();
    }

    virtual void OnTick() = 0;

private:
    std::uint32_t intervalMs_ = 2000;
    bool firstTick_ = false;
};

/// Ticks into a member of another object, which is not owned and outlives the thread.
template <class T>
class TTickThread : public CTickThread
{
public:
    using Member = void (T::*)();

    TTickThread(IDebugMessage* debug, T* object, Member member)
        : CTickThread(debug), object_(object), member_(member)
    {
    }
    ~TTickThread() override { StopThread(2000); }

    void OnTick() override
    {
        if (object_ != nullptr && member_ != nullptr)
            (object_->*member_)();
    }

private:
    T* const object_;
    const Member member_;
};

} // namespace korvane
