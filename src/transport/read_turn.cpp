#include "transport/read_turn.h"

namespace korvane
{

void CReadTurn::Reset()
{
    state_ = kUserBusy;
    isWantedBack_ = false;
    wasBusy_ = false;
    givenBack_.Reset();
}

bool CReadTurn::TryBeginReading()
{
    std::uint32_t expected = kUserBusy;
    if (state_.compare_exchange_strong(expected, kUserReads, std::memory_order_acq_rel))
        return true;
    isWantedBack_.store(true, std::memory_order_release);
    return false;
}

void CReadTurn::EndReading()
{
    state_.store(kUserBusy, std::memory_order_release);
}

void CReadTurn::Look()
{
    std::uint32_t expected = kUserBusy;
    const bool isBusy = state_.load(std::memory_order_relaxed) == kUserBusy;
    if (!isBusy || !wasBusy_)
    {
        wasBusy_ = isBusy;
        return;
    }
    wasBusy_ = false;
    isWantedBack_.store(false, std::memory_order_relaxed);
    state_.compare_exchange_strong(expected, kHelperReads, std::memory_order_acq_rel);
}

void CReadTurn::GiveBackIfWanted()
{
    if (!isWantedBack_.exchange(false, std::memory_order_acq_rel))
        return;
    state_.store(kUserBusy, std::memory_order_release);
    givenBack_.Set();
}

} // namespace korvane
