#pragma once

#include "host/base/text.h"
#include "host/contract/fault_list.h"
#include "host/device/device.h"

#include <larkmoor/host_channel_settings.h>
#include <larkmoor/host_device_settings.h>

namespace larkmoor::host
{

using namespace korvane::ipcapture;

/// A device as the driver reads it at `Open`. Used on one thread.
class DeviceSettings : public IHostDeviceSettings, private IHostDeviceDescription, private IHostConnection
{
public:
    /// Both outlive this object; `faults` may be null.
    explicit DeviceSettings(const Device& device, FaultList* faults = nullptr)
        : device_(device), faults_(faults)
    {
    }

    IHostDeviceDescription* GetDescription() override { return Answer<IHostDeviceDescription*>(this); }
    IHostConnection* GetConnection() override { return Answer<IHostConnection*>(this); }
    const char* GetParameter(std::uint32_t number) override
    {
        const auto found = device_.properties.find(number);
        return Answer(found == device_.properties.end() ? nullptr : found->second.c_str());
    }

protected:
    virtual bool Refuses() { return false; } ///< the answer to the present question; asked once for each
    void ReservedSlot1() override
    {
        if (faults_ != nullptr)
            faults_->Add("call of a reserved operation of the device settings");
    }

private:
    template <typename Result>
    Result Answer(Result answer, Result refusal = {})
    {
        return Refuses() ? refusal : answer;
    }
    const char* Answer(const std::string& text) { return Answer(text.c_str(), ""); }

    void ReservedSlot2() override { ReservedSlot1(); }
    const char* GetModel() override { return Answer(device_.model); }
    std::uint32_t GetChannelCount() override { return Answer(device_.channels); }
    std::uint32_t GetInputCount() override { return Answer(device_.inputs); }
    std::uint32_t GetOutputCount() override { return Answer(device_.outputs); }
    const char* GetAddress() override { return Answer(device_.address); }
    std::uint16_t GetPort() override { return Answer(device_.port); }
    std::uint32_t GetCodec() override { return Answer(static_cast<std::uint32_t>(device_.codec)); }
    const char* GetUser() override { return Answer(device_.user); }
    const char* GetPassword() override { return Answer(device_.password); }

    const Device& device_;
    FaultList* const faults_;
};

/// What a channel is to deliver, as the driver reads it at `StartChannel`, and its size at `ChangeChannel`.
/// Used on one thread.
class ChannelSettings : public IHostChannelSettings,
                        public IHostResolution,
                        private IHostVideoFormat,
                        private IHostStreamSettings
{
public:
    /// In pixels, ms from picture to picture (0 asks for no rate), and 0 worst to 100 best. `faults` may be
    /// null, and outlives this object.
    ChannelSettings(PictureSize size, std::uint16_t frameInterval, std::uint16_t quality,
                    FaultList* faults = nullptr)
        : size_(size), frameInterval_(frameInterval), quality_(quality), faults_(faults)
    {
    }

    IHostVideoFormat* GetVideoFormat() override { return Answer<IHostVideoFormat*>(this); }
    IHostStreamSettings* GetStreamSettings() override { return Answer<IHostStreamSettings*>(this); }
    std::uint16_t GetWidth() override { return Answer(size_.width); }
    std::uint16_t GetHeight() override { return Answer(size_.height); }

protected:
    virtual bool Refuses() { return false; } ///< as that of a device
    void ReservedSlot1() override
    {
        if (faults_ != nullptr)
            faults_->Add("call of a reserved operation of the channel settings");
    }

private:
    template <typename Result>
    Result Answer(Result answer)
    {
        return Refuses() ? Result{} : answer;
    }

    void ReservedSlot2() override { ReservedSlot1(); }
    IHostResolution* GetPictureSize() override { return Answer<IHostResolution*>(this); }
    std::uint16_t GetFrameInterval() override { return Answer(frameInterval_); }
    std::uint16_t GetQuality() override { return Answer(quality_); }

    const PictureSize size_;
    const std::uint16_t frameInterval_;
    const std::uint16_t quality_;
    FaultList* const faults_;
};

} // namespace larkmoor::host
