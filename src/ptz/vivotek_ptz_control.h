#pragma once

#include "ptz/base_ptz_control.h"

#include <cstdint>
#include <memory>

namespace korvane
{

/// The control of a Vivotek camera's head. A host that repeats a move while a joystick is held sends the
/// camera one request in half a second and not one per call.
class CVivotekPTZControl : public CBasePTZControl
{
public:
    static constexpr std::uint32_t kRepeatMs = 500; ///< a like move within this time is not sent again

    using CBasePTZControl::CBasePTZControl;

    std::int32_t StartMove(std::uint32_t direction, std::uint32_t speed) override; ///< a speed of 0 stops
    std::int32_t Stop() override;
    std::unique_ptr<CBasePTZComm> CreateComm() override;

private:
    std::uint32_t lastDirection_ = ipcapture::kPTZNoDirection;
    std::uint32_t lastSpeed_ = 0;
    std::uint64_t lastTime_ = 0; // monotonic, in 100 ns
};

/// The PTZ handler of a Vivotek device.
class CVivotekPTZHandler : public CBasePTZHandler
{
public:
    using CBasePTZHandler::CBasePTZHandler;

    std::unique_ptr<CBasePTZControl> CreateControl(std::uint32_t channel) override
    {
        return std::make_unique<CVivotekPTZControl>(driver_, channel);
    }
};

} // namespace korvane
