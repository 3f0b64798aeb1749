#pragma once

#include "device/driver.h"
#include "ptz/base_ptz_control.h"

#include <larkmoor/ip_ptz.h>

#include <cstdint>
#include <map>
#include <memory>

namespace korvane
{

/// Gives both levels of the host's interface one body.
class CIPPTZDriverIf : public ipcapture::IIPPTZDriverEx
{
public:
    ipcapture::IIPPTZApi* GetPTZControl(std::uint32_t channel) override { return GetPTZControlEx(channel); }
    virtual void BeginClose() {} ///< starts the time that the heads have to end; the object goes soon after
};

/// Makes the controls of a device's heads on demand and keeps them until it goes. The host's thread.
class CBasePTZHandler : public CIPPTZDriverIf
{
public:
    static constexpr std::uint32_t kPTZChannels = 1; ///< only channel 0 has a control

    explicit CBasePTZHandler(IDriver* driver) : driver_(driver) {} ///< not owned; outlives the object
    ~CBasePTZHandler() override { CBasePTZHandler::DeleteControls(); }

    ipcapture::IIPPTZApiEx* GetPTZControlEx(std::uint32_t channel) override;

    void BeginClose() override
    {
        for (const auto& control : controls_)
            control.second->BeginClose();
    }

    virtual std::unique_ptr<CBasePTZControl> CreateControl(std::uint32_t channel) = 0;
    virtual void DeleteControls() { controls_.clear(); }

protected:
    IDriver* const driver_;

private:
    std::map<std::uint32_t, std::unique_ptr<CBasePTZControl>> controls_; // by channel
};

} // namespace korvane
