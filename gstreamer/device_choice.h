#pragma once

#include "gstreamer/source_settings.h"

#include "host/device/device.h"

#include <larkmoor/host_channel_settings.h>
#include <larkmoor/host_device_settings.h>

#include <cstdint>

namespace larkmoor::gst
{

/// The device that an element's properties name: the device file's, with what the location, the user and the
/// password say over it. A password that is named nowhere is that of the environment variable
/// LARKMOOR_PASSWORD. `settings.channel` takes the location's. Throws `Problem`.
host::Device ChooseDevice(SourceSettings& settings);

/// A device as the driver reads it at `Open`. Used on one thread; the device outlives it.
class DeviceSettings final : public korvane::ipcapture::IHostDeviceSettings,
                             private korvane::ipcapture::IHostDeviceDescription,
                             private korvane::ipcapture::IHostConnection
{
public:
    explicit DeviceSettings(const host::Device& device) : device_(device) {}

    korvane::ipcapture::IHostDeviceDescription* GetDescription() override { return this; }
    korvane::ipcapture::IHostConnection* GetConnection() override { return this; }
    const char* GetParameter(std::uint32_t number) override;

private:
    void ReservedSlot1() override {}
    void ReservedSlot2() override {}
    const char* GetModel() override { return device_.model.c_str(); }
    std::uint32_t GetChannelCount() override { return device_.channels; }
    std::uint32_t GetInputCount() override { return device_.inputs; }
    std::uint32_t GetOutputCount() override { return device_.outputs; }
    const char* GetAddress() override { return device_.address.c_str(); }
    std::uint16_t GetPort() override { return device_.port; }
    std::uint32_t GetCodec() override { return static_cast<std::uint32_t>(device_.codec); }
    const char* GetUser() override { return device_.user.c_str(); }
    const char* GetPassword() override { return device_.password.c_str(); }

    const host::Device& device_;
};

/// What a video channel is to deliver, as the driver reads it at `StartChannel` and `ChangeChannel`.
class ChannelWish final : public korvane::ipcapture::IHostChannelSettings,
                          public korvane::ipcapture::IHostResolution,
                          private korvane::ipcapture::IHostVideoFormat,
                          private korvane::ipcapture::IHostStreamSettings
{
public:
    ChannelWish(const PictureWish& picture, std::uint32_t quality) : picture_(picture), quality_(quality) {}

    korvane::ipcapture::IHostVideoFormat* GetVideoFormat() override { return this; }
    korvane::ipcapture::IHostStreamSettings* GetStreamSettings() override { return this; }
    std::uint16_t GetWidth() override { return static_cast<std::uint16_t>(picture_.width); }
    std::uint16_t GetHeight() override { return static_cast<std::uint16_t>(picture_.height); }

private:
    void ReservedSlot1() override {}
    void ReservedSlot2() override {}
    korvane::ipcapture::IHostResolution* GetPictureSize() override { return this; }
    std::uint16_t GetFrameInterval() override { return static_cast<std::uint16_t>(picture_.intervalMs); }
    std::uint16_t GetQuality() override { return static_cast<std::uint16_t>(quality_); }

    const PictureWish picture_;
    const std::uint32_t quality_;
};

} // namespace larkmoor::gst
