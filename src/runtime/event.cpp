#include "runtime/event.h"

#include <algorithm>
#include <array>

namespace korvane
{

CEvent::CEvent(bool manualReset)
    : event_(manualReset ? platform::Event::Kind::kManualReset : platform::Event::Kind::kAutoReset)
{
}

bool CEvent::Set()
{
    event_.Set();
    return true;
}

bool CEvent::Reset()
{
    event_.Reset();
    return true;
}

bool CEvent::Wait(std::uint32_t timeoutMs)
{
    return event_.Wait(timeoutMs) == platform::WaitResult::kSignalled;
}

int CEvent::WaitForAny(CEvent* const* events, std::uint32_t count, std::uint32_t timeoutMs)
{
    if (events == nullptr || count > platform::Event::kMostEvents)
        return -1;
    std::array<platform::Event*, platform::Event::kMostEvents> inner; // filled as far as it is used
    std::transform(events, events + count, inner.begin(),
                   [](CEvent* event) { return event == nullptr ? nullptr : &event->event_; });
    const auto [result, index] = platform::Event::WaitForAny(inner.data(), count, timeoutMs);
    return result == platform::WaitResult::kSignalled ? static_cast<int>(index) : -1;
}

} // namespace korvane
