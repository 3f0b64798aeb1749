#include "ptz/vivotek_ptz_control.h"

#include "platform/clock.h"
#include "ptz/vivotek_ptz_comm.h"
#include "runtime/time.h"

namespace korvane
{

std::unique_ptr<CBasePTZComm> CVivotekPTZControl::CreateComm()
{
    return std::make_unique<CVivotekPTZComm>(static_cast<std::uint16_t>(channel_), driver_);
}

std::int32_t CVivotekPTZControl::StartMove(std::uint32_t direction, std::uint32_t speed)
{
    if (speed == 0)
        return Stop();
    if (speed == lastSpeed_ && direction == lastDirection_ && CTime::ElapsedMsSince(lastTime_) <= kRepeatMs)
        return ipcapture::kPTZDone;
    lastDirection_ = direction;
    lastSpeed_ = speed;
    lastTime_ = platform::Clock::MonotonicTicks();
    return CBasePTZControl::StartMove(direction, speed);
}

std::int32_t CVivotekPTZControl::Stop()
{
    if (IsMoving())
    {
        lastDirection_ = ipcapture::kPTZNoDirection;
        lastSpeed_ = 0;
        lastTime_ = 0;
    }
    return CBasePTZControl::Stop();
}

} // namespace korvane
