#pragma once

#include <cstdint>

#include "platform/event.h"

namespace korvane
{

inline constexpr std::uint32_t kWaitForever = platform::kInfinite;

/// An event, made not signalled. Any thread. What a set promises to waiters: platform/event.h.
class CEvent
{
public:
    explicit CEvent(bool manualReset);
    virtual ~CEvent() = default;
    CEvent(const CEvent&) = delete;
    CEvent& operator=(const CEvent&) = delete;

    bool Set();   ///< true: this platform knows no failure of it
    bool Reset(); ///< same

    /// True if the event was signalled within `timeoutMs`, which resets an auto-reset event. 0 only looks.
    bool Wait(std::uint32_t timeoutMs);

    /// Waits for any of `count` different events, at most 64; gives the index of the first signalled one in
    /// array order, or -1 on a time-out, a failure, or a null array.
    static int WaitForAny(CEvent* const* events, std::uint32_t count, std::uint32_t timeoutMs);

private:
    platform::Event event_;
};

/// An event that stays signalled until it is reset.
class CManualEvent : public CEvent
{
public:
    CManualEvent() : CEvent(true) {}
};

} // namespace korvane
