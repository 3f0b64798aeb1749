#pragma once

#include "platform/event.h"

namespace korvane
{

inline constexpr std::uint32_t kWaitForever = platform::kInfinite;

/// An event, made not signalled: `CEvent(true)` stays signalled until it is reset, `CEvent(false)` for one
/// wait. Any thread.
using CEvent = platform::Event;

/// An event that stays signalled until it is reset.
class CManualEvent : public CEvent
{
public:
    CManualEvent() : CEvent(true) {}
};

} // namespace korvane
