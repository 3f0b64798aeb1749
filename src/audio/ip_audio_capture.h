#pragma once

#include "audio/audio_channel_creator.h"
#include "audio/audio_channel_table.h"
#include "device/host_call.h"

namespace korvane
{

/// The host's handle on the audio inputs of one device.
class CIPAudioCapture final : public ipcapture::IIPAudioCapture2
{
public:
    /// `creator` outlives the object. `maximum` is the number of audio inputs that the device has.
    CIPAudioCapture(IAudioChannelCreator* creator, std::uint32_t maximum)
        : creator_(creator), channels_(maximum)
    {
    }

    bool StopAll() { return channels_.StopAll(); }  ///< as the table's
    void RequestStop() { channels_.RequestStop(); } ///< tells all channels to stop, and waits for none

    std::uint32_t GetChannelCount() override { return channels_.Count(); }
    bool StartChannel(std::uint32_t audioChannel, std::uint32_t videoChannel,
                      ipcapture::IHostAudioClient* client, ipcapture::IHostCodecList* codecList) override
    {
        return channels_.Start(
            audioChannel,
            [&] { return creator_->CreateAudioInputChannel(audioChannel, videoChannel, client, codecList); });
    }
    bool StopChannel(std::uint32_t audioChannel) override { return channels_.Stop(audioChannel); }
    std::uint32_t GetChannelState(std::uint32_t audioChannel) override
    {
        return channels_.With(audioChannel, std::uint32_t{0},
                              [](const IAudioInputChannel& channel) { return channel.GetState(); });
    }
    bool ReservedCall1(std::uint32_t, std::uint32_t, std::uint32_t) override { return false; }

private:
    IAudioChannelCreator* const creator_;
    TAudioChannelTable<IAudioInputChannel> channels_;
};

/// The host's handle on the audio outputs of one device. The creator makes no output channel, so nothing
/// ever runs here.
class CIPAudioSender final : public ipcapture::IIPAudioSender
{
public:
    /// `creator` outlives the object. `maximum` is the number of audio outputs that the device has.
    CIPAudioSender(IAudioChannelCreator* creator, std::uint32_t maximum)
        : creator_(creator), channels_(maximum)
    {
    }

    std::uint32_t GetChannelCount() override { return channels_.Count(); }
    bool StartChannel(std::uint32_t audioChannel, std::uint32_t a, std::uint32_t b, std::uint32_t c) override
    {
        return channels_.Start(audioChannel,
                               [&] { return creator_->CreateAudioOutputChannel(audioChannel, a, b, c); });
    }
    bool StopChannel(std::uint32_t audioChannel) override { return channels_.Stop(audioChannel); }
    bool SendFrame(ipcapture::IHostOutgoingAudio* frame) override
    {
        return frame != nullptr &&
               channels_.With(CallHost(0u, [frame] { return frame->GetChannel(); }) & 0xFF, false,
                              [&](IAudioOutputChannel& channel) { return channel.SendFrame(frame); });
    }
    bool SetChannelValue(std::uint32_t audioChannel, std::uint32_t value) override
    {
        return channels_.With(audioChannel, false,
                              [&](IAudioOutputChannel& channel) { return channel.SetValue(value); });
    }
    std::uint32_t GetChannelValue(std::uint32_t audioChannel) override
    {
        return channels_.With(audioChannel, std::uint32_t{0},
                              [](const IAudioOutputChannel& channel) { return channel.GetValue(); });
    }
    bool ReservedCall1(std::uint32_t, std::uint32_t, std::uint32_t) override { return false; }

private:
    IAudioChannelCreator* const creator_;
    TAudioChannelTable<IAudioOutputChannel> channels_;
};

} // namespace korvane
