#pragma once

#include "host/base/text.h"
#include "host/contract/fault_list.h"
#include "host/device/device.h"

#include <larkmoor/host_channel_settings.h>
#include <larkmoor/host_device_settings.h>

#include <cstdint>

namespace larkmoor::host
{

using namespace korvane::ipcapture;

/// A device as the driver reads it at `Open`. Used on one thread.
class DeviceSettings final : public IHostDeviceSettings,
                             private IHostDeviceDescription,
                             private IHostConnection
{
public:
    /// Both outlive this object.
    DeviceSettings(const Device& device, FaultList& faults) : device_(device), faults_(faults) {}

    IHostDeviceDescription* GetDescription() override { return this; }
    IHostConnection* GetConnection() override { return this; }
    const char* GetParameter(std::uint32_t number) override
    {
        const auto found = device_.properties.find(number);
        return found == device_.properties.end() ? nullptr : found->second.c_str();
    }

private:
    void ReservedSlot1() override { faults_.Add("call of a reserved operation of the device settings"); }
    void ReservedSlot2() override { ReservedSlot1(); }
    const char* GetModel() override { return device_.model.c_str(); }
    std::uint32_t GetChannelCount() override { return device_.channels; }
    std::uint32_t GetInputCount() override { return device_.inputs; }
    std::uint32_t GetOutputCount() override { return device_.outputs; }
    const char* GetAddress() override { return device_.address.c_str(); }
    std::uint16_t GetPort() override { return device_.port; }
    std::uint32_t GetCodec() override { return static_cast<std::uint32_t>(device_.codec); }
    const char* GetUser() override { return device_.user.c_str(); }
    const char* GetPassword() override { return device_.password.c_str(); }

    const Device& device_;
    FaultList& faults_;
};

/// A picture size as the driver reads it.
class Resolution final : public IHostResolution
{
public:
    explicit Resolution(PictureSize size) : size_(size) {}

    std::uint16_t GetWidth() override { return size_.width; }
    std::uint16_t GetHeight() override { return size_.height; }

private:
    PictureSize size_;
};

/// What one channel is to deliver, as the driver reads it at `StartChannel`. Used on one thread.
class ChannelSettings final : public IHostChannelSettings,
                              private IHostVideoFormat,
                              private IHostStreamSettings
{
public:
    /// `faults` outlives this object.
    ChannelSettings(PictureSize size, std::uint16_t frameInterval, std::uint16_t quality, FaultList& faults)
        : size_(size), frameInterval_(frameInterval), quality_(quality), faults_(faults)
    {
    }

    IHostVideoFormat* GetVideoFormat() override { return this; }
    IHostStreamSettings* GetStreamSettings() override { return this; }

private:
    void ReservedSlot1() override { faults_.Add("call of a reserved operation of the channel settings"); }
    void ReservedSlot2() override { ReservedSlot1(); }
    IHostResolution* GetPictureSize() override { return &size_; }
    std::uint16_t GetFrameInterval() override { return frameInterval_; }
    std::uint16_t GetQuality() override { return quality_; }

    Resolution size_;
    std::uint16_t frameInterval_;
    std::uint16_t quality_;
    FaultList& faults_;
};

} // namespace larkmoor::host
