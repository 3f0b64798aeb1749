#pragma once

#include "host/contract/driver_settings.h"
#include "host/hostile/hostile_frames.h"

#include <larkmoor/capability_query.h>
#include <larkmoor/capture_io.h>
#include <larkmoor/host_channel_client.h>
#include <larkmoor/host_sink.h>
#include <larkmoor/ip_audio.h>

#include <iterator>

namespace larkmoor::host
{

using namespace korvane::ipcapture;

/// A log that stalls and throws. It keeps the numbers of the threads that the driver says to give up.
class HostileSink final : public IHostSink
{
public:
    explicit HostileSink(HostSide& side) : side_(side) {}

    std::vector<pid_t> GivenUp() const;
    void WriteMessage(CDebugInfoIf* message) override;

private:
    HostSide& side_;
    mutable std::mutex lock_; // over `givenUp_`
    std::vector<pid_t> givenUp_;
};

/// A recorder of one channel and its sound, with the formats that it takes.
class HostileClient final : public IHostChannelClient,
                            public IHostAudioClient,
                            public IHostCodecList,
                            private IHostCodecItem
{
public:
    HostileClient(HostSide& side, const HostileAllocator& allocator) : side_(side), allocator_(allocator) {}

    bool DeliverFrame(IHostFrame* frame) override { return Take(Operation::DeliverFrame, frame); }
    void SignalLost() override { side_.Hear(Operation::SignalLost); }
    bool AudioFrame(IHostFrame* frame) override { return Take(Operation::AudioFrame, frame); }
    void StateChanged(std::uint32_t, std::uint32_t) override { side_.Hear(Operation::StateChanged); }
    std::uint32_t GetCount() override { return side_.Answer(Operation::CodecList, kFormatCount); }
    IHostCodecItem* GetItem(std::uint32_t index) override
    {
        return side_.Answer<IHostCodecItem*>(Operation::CodecList, index < kFormatCount ? this : nullptr);
    }

private:
    static constexpr std::uint32_t kFormats[] = {kFormatG711MuLaw, kFormatG726, kFormatAac};
    static constexpr std::uint32_t kFormatCount = std::size(kFormats);

    bool Take(Operation operation, const IHostFrame* frame);

    // One item is all three: each question about it may get another answer, as of a host that is being set
    // up.
    std::uint32_t GetCode() override
    {
        return side_.Answer(Operation::CodecList, kFormats[side_.Calls(Operation::CodecList) % kFormatCount]);
    }
    bool IsUsable() override { return side_.Answer(Operation::CodecList, true); }
    void ReservedSlot1() override { side_.Fault("call of a reserved operation of a client or a codec"); }

    HostSide& side_;
    const HostileAllocator& allocator_;
};

class HostileIoClient final : public IHostIOClient
{
public:
    explicit HostileIoClient(HostSide& side) : side_(side) {}

    void InputChanged(std::uint32_t, std::uint32_t) override { side_.Hear(Operation::InputChanged); }
    void ConnectionLost() override { side_.Hear(Operation::ConnectionLost); }

private:
    HostSide& side_;
};

/// A device as the driver reads it at `Open`.
class HostileDeviceSettings final : public DeviceSettings
{
public:
    /// Both outlive this object.
    HostileDeviceSettings(HostSide& side, const Device& device) : DeviceSettings(device), side_(side) {}

private:
    bool Refuses() override { return !side_.Answer(Operation::DeviceSettings, true); }
    void ReservedSlot1() override { side_.Fault("call of a reserved operation of the device settings"); }

    HostSide& side_;
};

/// What a channel is to deliver.
class HostileChannelSettings final : public ChannelSettings
{
public:
    HostileChannelSettings(HostSide& side, PictureSize size) : ChannelSettings(size, 100, 60), side_(side) {}

private:
    bool Refuses() override { return !side_.Answer(Operation::ChannelSettings, true); }
    void ReservedSlot1() override { side_.Fault("call of a reserved operation of the channel settings"); }

    HostSide& side_;
};

/// Hears how a query ends.
class HostileQuerySink final : public ICapabilitySink
{
public:
    explicit HostileQuerySink(HostSide& side) : side_(side) {}

    void ReservedSlot1() override { side_.Fault("call of a reserved operation of the capability sink"); }
    void OnQueryDone() override { side_.Hear(Operation::QueryEnd); }
    void OnQueryFailed(std::uint32_t, const char*) override { side_.Hear(Operation::QueryEnd); }
    void OnQueryKilled() override { side_.Hear(Operation::QueryEnd); }

private:
    HostSide& side_;
};

/// Takes what a query writes and forgets it.
class HostileStore final : public ICapabilityStore,
                           private ICapabilityField,
                           private ICapabilityParameter,
                           private IResolutionList,
                           private IFrameTimeList
{
public:
    explicit HostileStore(HostSide& side) : side_(side) {}

    void SetValue(std::uint32_t, std::uint32_t) override { Hear(); }
    void SetModel(const char*) override { Hear(); }
    ICapabilityField* GetConnectionField(std::uint32_t) override { return Give<ICapabilityField>(); }
    ICapabilityParameter* AddParameter(std::uint32_t) override { return Give<ICapabilityParameter>(); }
    IResolutionList* GetResolutionList() override { return Give<IResolutionList>(); }
    IFrameTimeList* GetFrameTimeList(std::uint32_t) override { return Give<IFrameTimeList>(); }
    void ReservedSlot1() override { side_.Fault("call of a reserved operation of the capability store"); }
    void ReservedSlot2() override { ReservedSlot1(); }

private:
    template <typename Part>
    Part* Give()
    {
        return side_.Answer<Part*>(Operation::CapabilityStore, this);
    }
    void Hear() { side_.Hear(Operation::CapabilityStore); }

    void SetText(const char*) override { Hear(); }
    void SetValue(const char*) override { Hear(); }
    void SetIsText(bool) override { Hear(); }
    void SetName(const char*) override { Hear(); }
    void SetReserved(std::uint32_t) override { Hear(); }
    void Add(const char*, std::uint32_t, std::uint32_t, std::uint32_t) override { Hear(); }
    void SetDefault(std::uint32_t) override { Hear(); }
    void Add(std::uint32_t) override { Hear(); }

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
    HostileIoClient io{side};
    HostileQuerySink querySink{side};
    HostileStore store{side};
};

} // namespace larkmoor::host
