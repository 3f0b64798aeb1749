#pragma once

#include "host/contract/driver_settings.h"
#include "host/hostile/hostile_frames.h"

#include <larkmoor/capability_query.h>
#include <larkmoor/capture_io.h>
#include <larkmoor/host_channel_client.h>
#include <larkmoor/host_sink.h>
#include <larkmoor/ip_audio.h>

namespace larkmoor::host
{

/// A log that stalls and throws. It keeps the numbers of the threads that the driver says to give up.
class HostileSink final : public korvane::ipcapture::IHostSink
{
public:
    explicit HostileSink(HostSide& side) : side_(side) {}

    std::vector<pid_t> GivenUp() const;
    void WriteMessage(korvane::ipcapture::CDebugInfoIf* message) override;

private:
    HostSide& side_;
    mutable std::mutex lock_; // over `givenUp_`
    std::vector<pid_t> givenUp_;
};

/// A recorder of one channel.
class HostileClient final : public korvane::ipcapture::IHostChannelClient
{
public:
    HostileClient(HostSide& side, const HostileAllocator& allocator) : side_(side), allocator_(allocator) {}

    bool DeliverFrame(korvane::ipcapture::IHostFrame* frame) override;
    void ReservedSlot1() override { side_.Fault("call of a reserved operation of the channel client"); }
    void SignalLost() override;

private:
    HostSide& side_;
    const HostileAllocator& allocator_;
};

/// A recorder of one audio channel, with the formats that it takes.
class HostileAudioClient final : public korvane::ipcapture::IHostAudioClient,
                                 public korvane::ipcapture::IHostCodecList,
                                 public korvane::ipcapture::IHostCodecItem
{
public:
    HostileAudioClient(HostSide& side, const HostileAllocator& allocator) : side_(side), allocator_(allocator)
    {
    }

    bool AudioFrame(korvane::ipcapture::IHostFrame* frame) override;
    void StateChanged(std::uint32_t audioChannel, std::uint32_t state) override;
    std::uint32_t GetCount() override;
    korvane::ipcapture::IHostCodecItem* GetItem(std::uint32_t index) override;

private:
    std::uint32_t GetCode() override;
    void ReservedSlot1() override { side_.Fault("call of a reserved operation of a codec"); }
    bool IsUsable() override;

    HostSide& side_;
    const HostileAllocator& allocator_;
};

class HostileIoClient final : public korvane::ipcapture::IHostIOClient
{
public:
    explicit HostileIoClient(HostSide& side) : side_(side) {}

    void InputChanged(std::uint32_t number, std::uint32_t state) override;
    void ConnectionLost() override;

private:
    HostSide& side_;
};

/// A device as the driver reads it at `Open`.
class HostileDeviceSettings final : public korvane::ipcapture::IHostDeviceSettings,
                                    public korvane::ipcapture::IHostDeviceDescription,
                                    public korvane::ipcapture::IHostConnection
{
public:
    /// All outlive this object.
    HostileDeviceSettings(HostSide& side, const Device& device, FaultList& faults)
        : side_(side), settings_(device, faults)
    {
    }

    korvane::ipcapture::IHostDeviceDescription* GetDescription() override;
    korvane::ipcapture::IHostConnection* GetConnection() override;
    const char* GetParameter(std::uint32_t number) override;

private:
    void ReservedSlot1() override { side_.Fault("call of a reserved operation of the device settings"); }
    void ReservedSlot2() override { ReservedSlot1(); }
    const char* GetModel() override;
    std::uint32_t GetChannelCount() override;
    std::uint32_t GetInputCount() override;
    std::uint32_t GetOutputCount() override;
    const char* GetAddress() override;
    std::uint16_t GetPort() override;
    std::uint32_t GetCodec() override;
    const char* GetUser() override;
    const char* GetPassword() override;

    HostSide& side_;
    DeviceSettings settings_;
};

/// What a channel is to deliver.
class HostileChannelSettings final : public korvane::ipcapture::IHostChannelSettings,
                                     public korvane::ipcapture::IHostVideoFormat,
                                     public korvane::ipcapture::IHostStreamSettings,
                                     public korvane::ipcapture::IHostResolution
{
public:
    HostileChannelSettings(HostSide& side, PictureSize size) : side_(side), size_(size) {}

    korvane::ipcapture::IHostVideoFormat* GetVideoFormat() override;
    korvane::ipcapture::IHostStreamSettings* GetStreamSettings() override;
    std::uint16_t GetWidth() override;
    std::uint16_t GetHeight() override;

private:
    void ReservedSlot1() override { side_.Fault("call of a reserved operation of the channel settings"); }
    void ReservedSlot2() override { ReservedSlot1(); }
    korvane::ipcapture::IHostResolution* GetPictureSize() override;
    std::uint16_t GetFrameInterval() override;
    std::uint16_t GetQuality() override;

    HostSide& side_;
    PictureSize size_;
};

/// Hears how a query ends.
class HostileQuerySink final : public korvane::ipcapture::ICapabilitySink
{
public:
    explicit HostileQuerySink(HostSide& side) : side_(side) {}

    void ReservedSlot1() override { side_.Fault("call of a reserved operation of the capability sink"); }
    void OnQueryDone() override;
    void OnQueryFailed(std::uint32_t code, const char* text) override;
    void OnQueryKilled() override;

private:
    HostSide& side_;
};

/// Takes what a query writes and forgets it.
class HostileStore final : public korvane::ipcapture::ICapabilityStore,
                           public korvane::ipcapture::ICapabilityField,
                           public korvane::ipcapture::ICapabilityParameter,
                           public korvane::ipcapture::IResolutionList,
                           public korvane::ipcapture::IFrameTimeList
{
public:
    explicit HostileStore(HostSide& side) : side_(side) {}

    void SetValue(std::uint32_t id, std::uint32_t value) override;
    void SetModel(const char* text) override;
    korvane::ipcapture::ICapabilityField* GetConnectionField(std::uint32_t index) override;
    void ReservedSlot1() override { side_.Fault("call of a reserved operation of the capability store"); }
    void ReservedSlot2() override { ReservedSlot1(); }
    korvane::ipcapture::ICapabilityParameter* AddParameter(std::uint32_t id) override;
    korvane::ipcapture::IResolutionList* GetResolutionList() override;
    korvane::ipcapture::IFrameTimeList* GetFrameTimeList(std::uint32_t number) override;

private:
    void SetText(const char* text) override;
    void SetValue(const char* text) override;
    void SetIsText(bool isText) override;
    void SetName(const char* text) override;
    void SetReserved(std::uint32_t value) override;
    void Add(const char* text, std::uint32_t width, std::uint32_t height, std::uint32_t frameTime) override;
    void SetDefault(std::uint32_t frameTime) override;
    void Add(std::uint32_t frameTime) override;

    void Write() // whatever it is
    {
        side_.Call(Operation::CapabilityStore, [] {});
    }

    HostSide& side_;
};

/// All that a driver or a query meets of its host.
struct HostileHost
{
    HostileHost(const std::string& name, std::vector<Deed> plan) : side(name, std::move(plan)) {}

    HostSide side;
    HostileAllocator allocator{side};
    HostileSink sink{side};
    HostileClient client{side, allocator};
    HostileAudioClient audio{side, allocator};
    HostileIoClient io{side};
    HostileQuerySink querySink{side};
    HostileStore store{side};
};

} // namespace larkmoor::host
