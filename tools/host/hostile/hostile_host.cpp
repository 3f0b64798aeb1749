#include "host/hostile/hostile_host.h"

#include <cstdlib>
#include <cstring>

namespace larkmoor::host
{

using namespace korvane::ipcapture;

namespace
{

constexpr const char* kThreadId = "Thread (id=";
constexpr std::uint32_t kFormats[] = {kFormatG711MuLaw, kFormatG726, kFormatAac};

bool Take(HostSide& side, const HostileAllocator& allocator, Operation operation, IHostFrame* frame)
{
    if (!allocator.Holds(frame))
        side.Fault("delivery of a frame that the driver does not hold");
    return side.Call(operation, false, [] { return true; });
}

} // namespace

void HostileSink::WriteMessage(CDebugInfoIf* message)
{
    const char* const text = message->GetMessage();
    const char* const id = text == nullptr ? nullptr : std::strstr(text, kThreadId);
    if (id != nullptr && std::strstr(text, "will be terminated!") != nullptr)
    {
        const std::lock_guard guard(lock_);
        givenUp_.push_back(static_cast<pid_t>(std::strtol(id + std::strlen(kThreadId), nullptr, 10)));
    }
    side_.Call(Operation::WriteMessage, [] {});
}

std::vector<pid_t> HostileSink::GivenUp() const
{
    const std::lock_guard guard(lock_);
    return givenUp_;
}

bool HostileClient::DeliverFrame(IHostFrame* frame)
{
    return Take(side_, allocator_, Operation::DeliverFrame, frame);
}

void HostileClient::SignalLost()
{
    side_.Call(Operation::SignalLost, [] {});
}

bool HostileAudioClient::AudioFrame(IHostFrame* frame)
{
    return Take(side_, allocator_, Operation::AudioFrame, frame);
}

void HostileAudioClient::StateChanged(std::uint32_t, std::uint32_t)
{
    side_.Call(Operation::StateChanged, [] {});
}

std::uint32_t HostileAudioClient::GetCount()
{
    return side_.Call(Operation::CodecList, 0u, [] { return std::size(kFormats); });
}

IHostCodecItem* HostileAudioClient::GetItem(std::uint32_t index)
{
    return side_.Call<IHostCodecItem*>(Operation::CodecList, nullptr,
                                       [&] { return index < std::size(kFormats) ? this : nullptr; });
}

// One item is all three: each question about it may get another answer, as from a host that is being set up.
std::uint32_t HostileAudioClient::GetCode()
{
    return side_.Call(Operation::CodecList, 0u,
                      [&] { return kFormats[side_.Calls(Operation::CodecList) % std::size(kFormats)]; });
}

bool HostileAudioClient::IsUsable()
{
    return side_.Call(Operation::CodecList, false, [] { return true; });
}

void HostileIoClient::InputChanged(std::uint32_t, std::uint32_t)
{
    side_.Call(Operation::InputChanged, [] {});
}

void HostileIoClient::ConnectionLost()
{
    side_.Call(Operation::ConnectionLost, [] {});
}

IHostDeviceDescription* HostileDeviceSettings::GetDescription()
{
    return side_.Call<IHostDeviceDescription*>(Operation::DeviceSettings, nullptr, [&] { return this; });
}

IHostConnection* HostileDeviceSettings::GetConnection()
{
    return side_.Call<IHostConnection*>(Operation::DeviceSettings, nullptr, [&] { return this; });
}

const char* HostileDeviceSettings::GetParameter(std::uint32_t number)
{
    return side_.Call<const char*>(Operation::DeviceSettings, nullptr,
                                   [&] { return settings_.GetParameter(number); });
}

const char* HostileDeviceSettings::GetModel()
{
    return side_.Call<const char*>(Operation::DeviceSettings, "",
                                   [&] { return settings_.GetDescription()->GetModel(); });
}

std::uint32_t HostileDeviceSettings::GetChannelCount()
{
    return side_.Call(Operation::DeviceSettings, 0u,
                      [&] { return settings_.GetDescription()->GetChannelCount(); });
}

std::uint32_t HostileDeviceSettings::GetInputCount()
{
    return side_.Call(Operation::DeviceSettings, 0u,
                      [&] { return settings_.GetDescription()->GetInputCount(); });
}

std::uint32_t HostileDeviceSettings::GetOutputCount()
{
    return side_.Call(Operation::DeviceSettings, 0u,
                      [&] { return settings_.GetDescription()->GetOutputCount(); });
}

const char* HostileDeviceSettings::GetAddress()
{
    return side_.Call<const char*>(Operation::DeviceSettings, "",
                                   [&] { return settings_.GetConnection()->GetAddress(); });
}

std::uint16_t HostileDeviceSettings::GetPort()
{
    return side_.Call(Operation::DeviceSettings, std::uint16_t{0},
                      [&] { return settings_.GetConnection()->GetPort(); });
}

std::uint32_t HostileDeviceSettings::GetCodec()
{
    return side_.Call(Operation::DeviceSettings, 0u, [&] { return settings_.GetConnection()->GetCodec(); });
}

const char* HostileDeviceSettings::GetUser()
{
    return side_.Call<const char*>(Operation::DeviceSettings, "",
                                   [&] { return settings_.GetConnection()->GetUser(); });
}

const char* HostileDeviceSettings::GetPassword()
{
    return side_.Call<const char*>(Operation::DeviceSettings, "",
                                   [&] { return settings_.GetConnection()->GetPassword(); });
}

IHostVideoFormat* HostileChannelSettings::GetVideoFormat()
{
    return side_.Call<IHostVideoFormat*>(Operation::ChannelSettings, nullptr, [&] { return this; });
}

IHostStreamSettings* HostileChannelSettings::GetStreamSettings()
{
    return side_.Call<IHostStreamSettings*>(Operation::ChannelSettings, nullptr, [&] { return this; });
}

IHostResolution* HostileChannelSettings::GetPictureSize()
{
    return side_.Call<IHostResolution*>(Operation::ChannelSettings, nullptr, [&] { return this; });
}

std::uint16_t HostileChannelSettings::GetWidth()
{
    return side_.Call(Operation::ChannelSettings, std::uint16_t{0}, [&] { return size_.width; });
}

std::uint16_t HostileChannelSettings::GetHeight()
{
    return side_.Call(Operation::ChannelSettings, std::uint16_t{0}, [&] { return size_.height; });
}

std::uint16_t HostileChannelSettings::GetFrameInterval()
{
    return side_.Call(Operation::ChannelSettings, std::uint16_t{0}, [] { return std::uint16_t{100}; });
}

std::uint16_t HostileChannelSettings::GetQuality()
{
    return side_.Call(Operation::ChannelSettings, std::uint16_t{0}, [] { return std::uint16_t{60}; });
}

void HostileQuerySink::OnQueryDone()
{
    side_.Call(Operation::QueryEnd, [] {});
}

void HostileQuerySink::OnQueryFailed(std::uint32_t, const char*)
{
    side_.Call(Operation::QueryEnd, [] {});
}

void HostileQuerySink::OnQueryKilled()
{
    side_.Call(Operation::QueryEnd, [] {});
}

void HostileStore::SetValue(std::uint32_t, std::uint32_t)
{
    Write();
}

void HostileStore::SetModel(const char*)
{
    Write();
}

ICapabilityField* HostileStore::GetConnectionField(std::uint32_t)
{
    return side_.Call<ICapabilityField*>(Operation::CapabilityStore, nullptr, [&] { return this; });
}

ICapabilityParameter* HostileStore::AddParameter(std::uint32_t)
{
    return side_.Call<ICapabilityParameter*>(Operation::CapabilityStore, nullptr, [&] { return this; });
}

IResolutionList* HostileStore::GetResolutionList()
{
    return side_.Call<IResolutionList*>(Operation::CapabilityStore, nullptr, [&] { return this; });
}

IFrameTimeList* HostileStore::GetFrameTimeList(std::uint32_t)
{
    return side_.Call<IFrameTimeList*>(Operation::CapabilityStore, nullptr, [&] { return this; });
}

void HostileStore::SetText(const char*)
{
    Write();
}

void HostileStore::SetValue(const char*)
{
    Write();
}

void HostileStore::SetIsText(bool)
{
    Write();
}

void HostileStore::SetName(const char*)
{
    Write();
}

void HostileStore::SetReserved(std::uint32_t)
{
    Write();
}

void HostileStore::Add(const char*, std::uint32_t, std::uint32_t, std::uint32_t)
{
    Write();
}

void HostileStore::SetDefault(std::uint32_t)
{
    Write();
}

void HostileStore::Add(std::uint32_t)
{
    Write();
}

} // namespace larkmoor::host
