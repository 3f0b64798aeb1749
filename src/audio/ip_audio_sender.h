#pragma once

#include "audio/audio_channel_creator.h"
#include "audio/audio_channel_table.h"

namespace korvane
{

/// The host's handle on the audio outputs of one device. The creator makes no output channel, so nothing
/// ever runs here.
class CIPAudioSender final : public ipcapture::IIPAudioSender
{
public:
    /// `creator` outlives the object. `maximum` is the number of audio outputs that the device has.
    CIPAudioSender(IAudioChannelCreator* creator, std::uint32_t maximum);

    std::uint32_t GetChannelCount() override;
    bool StartChannel(std::uint32_t audioChannel, std::uint32_t a, std::uint32_t b, std::uint32_t c) override;
    bool StopChannel(std::uint32_t audioChannel) override;
    bool SendFrame(ipcapture::IHostOutgoingAudio* frame) override;
    bool SetChannelValue(std::uint32_t audioChannel, std::uint32_t value) override;
    std::uint32_t GetChannelValue(std::uint32_t audioChannel) override;
    bool ReservedCall1(std::uint32_t, std::uint32_t, std::uint32_t) override { return false; }

private:
    IAudioChannelCreator* const creator_;
    TAudioChannelTable<IAudioOutputChannel> channels_;
};

} // namespace korvane
