#pragma once

#include "ptz/base_ptz_handler.h"
#include "ptz/vivotek_ptz_control.h"

#include <cstdint>
#include <memory>

namespace korvane
{

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
