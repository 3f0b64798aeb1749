#include "plugin/ip_video_capture.h"

#include "device/host_call.h"
#include "runtime/guarded.h"

#include <utility>

namespace korvane
{

namespace
{

/// False if one of the host's objects is missing.
bool ReadSettings(ipcapture::IHostChannelSettings& from, ChannelSettings& settings)
{
    auto* const stream = AskHost([&] { return from.GetStreamSettings(); });
    auto* const format = AskHost([&] { return from.GetVideoFormat(); });
    auto* const size = format == nullptr ? nullptr : AskHost([=] { return format->GetPictureSize(); });
    if (stream == nullptr || size == nullptr)
        return false;
    settings.frameIntervalMs = AskHost([=] { return stream->GetFrameInterval(); });
    settings.quality = AskHost([=] { return stream->GetQuality(); });
    settings.width = AskHost([=] { return size->GetWidth(); });
    settings.height = AskHost([=] { return size->GetHeight(); });
    return true;
}

} // namespace

CIPVideoCapture::CIPVideoCapture(ICustomCreator* creator, std::uint32_t channelCount)
    : creator_(creator), channels_(channelCount)
{
}

void CIPVideoCapture::RequestStop()
{
    for (std::uint32_t channel = 0; channel < channels_.size(); ++channel)
        if (const std::shared_ptr<ICameraChannel> found = Find(channel))
            found->RequestStop();
}

bool CIPVideoCapture::StopAll()
{
    RequestStop();
    for (std::uint32_t channel = 0; channel < channels_.size(); ++channel)
        StopChannel(channel);
    return leaving_.EndAll();
}

std::uint32_t CIPVideoCapture::GetChannelCount()
{
    return static_cast<std::uint32_t>(channels_.size());
}

bool CIPVideoCapture::StartChannel(std::uint32_t channel, ipcapture::IHostChannelClient* channelClient,
                                   ipcapture::IHostChannelSettings* channelSettings)
{
    if (channel >= channels_.size() || channelSettings == nullptr)
        return false;
    StopChannel(channel);
    leaving_.EndAll();
    return Guarded(false, [&] { return Start(channel, channelClient, *channelSettings); });
}

bool CIPVideoCapture::Start(std::uint32_t channel, ipcapture::IHostChannelClient* channelClient,
                            ipcapture::IHostChannelSettings& channelSettings)
{
    const std::shared_ptr<ICameraChannel> created = creator_->CreateChannel(channel, channelClient);
    if (created == nullptr)
        return true; // a codec that nothing serves: the place stays empty
    ChannelSettings settings;
    if (!ReadSettings(channelSettings, settings))
        return false;
    const bool started = created->Start(settings);
    if (const auto former = Replace(channel, created))
        leaving_.End(former); // another thread has started this place meanwhile
    return started;
}

bool CIPVideoCapture::StopChannel(std::uint32_t channel)
{
    const std::shared_ptr<ICameraChannel> former = Replace(channel, nullptr);
    if (former == nullptr)
        return false;
    leaving_.End(former);
    return true;
}

bool CIPVideoCapture::ChangeChannel(std::uint32_t channel, ipcapture::IHostResolution* resolution,
                                    std::uint32_t frameInterval)
{
    const std::shared_ptr<ICameraChannel> found = Find(channel);
    if (found == nullptr || resolution == nullptr)
        return false;
    return Guarded(false,
                   [&]
                   {
                       const std::uint32_t width = AskHost([=] { return resolution->GetWidth(); });
                       const std::uint32_t height = AskHost([=] { return resolution->GetHeight(); });
                       return found->ChangeSettings({width, height, frameInterval});
                   });
}

bool CIPVideoCapture::GetChannelState(std::uint32_t channel, std::uint32_t* state, std::uint32_t* detail,
                                      char* text, std::uint32_t textSize)
{
    if (detail != nullptr)
        *detail = 0;
    if (text != nullptr && textSize != 0)
        *text = '\0';
    const std::shared_ptr<ICameraChannel> found = Find(channel);
    if (state != nullptr)
        *state = found == nullptr ? kChannelStopped : found->GetChannelState();
    return found != nullptr;
}

ChannelSettings CIPVideoCapture::GetChannelSettings(std::uint32_t channel)
{
    const std::shared_ptr<ICameraChannel> found = Find(channel);
    return found == nullptr ? ChannelSettings() : found->GetSettings();
}

std::shared_ptr<ICameraChannel> CIPVideoCapture::Find(std::uint32_t channel)
{
    const CLockGuard guard(lock_);
    return channel < channels_.size() ? channels_[channel] : nullptr;
}

std::shared_ptr<ICameraChannel> CIPVideoCapture::Replace(std::uint32_t channel,
                                                         std::shared_ptr<ICameraChannel> next)
{
    const CLockGuard guard(lock_);
    if (channel >= channels_.size())
        return nullptr;
    return std::exchange(channels_[channel], std::move(next));
}

} // namespace korvane
