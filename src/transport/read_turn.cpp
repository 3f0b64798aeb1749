#include "transport/read_turn.h"

#include <utility>

#include "transport/read_watch.h"

namespace korvane
{

void CReadTurn::Reset()
{
    state_ = kLent;
    taken_.Reset();
    givenBack_.Reset();
    wasDelivering_ = false;
}

bool CReadTurn::TryBeginReading()
{
    std::uint32_t state = kDelivering;
    if (state_.compare_exchange_strong(state, kLent) || state == kLent)
        return true;
    // The socket's thread may give it back right now, which sets the event all the same.
    state = kTaken;
    state_.compare_exchange_strong(state, kWanted);
    return false;
}

// A watch that is about to sleep sees the new state, or is seen here: both are in one total order.
void CReadTurn::EndReading()
{
    state_.store(kDelivering);
    if (watch_ != nullptr)
        watch_->Wake();
}

void CReadTurn::GiveBackIfWanted()
{
    if (state_.load(std::memory_order_acquire) != kWanted)
        return;
    EndReading();
    givenBack_.Set();
}

bool CReadTurn::Look()
{
    const std::uint32_t packets = packets_.load(std::memory_order_relaxed);
    const bool hasMoved = std::exchange(packetsSeen_, packets) != packets;
    std::uint32_t state = state_.load();
    const bool isDelivering = state == kDelivering;
    const bool wasDelivering = std::exchange(wasDelivering_, isDelivering);
    if (isDelivering && wasDelivering && !hasMoved && state_.compare_exchange_strong(state, kTaken))
        taken_.Set();
    return isDelivering;
}

} // namespace korvane
