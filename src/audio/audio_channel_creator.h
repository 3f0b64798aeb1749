#pragma once

#include "audio/audio_input_channel.h"

#include <larkmoor/ip_audio.h>

#include <cstdint>

namespace korvane
{

class IAudioOutputChannel;

/// Makes the audio channels of a device; the caller owns what it gets. The host's thread.
class IAudioChannelCreator
{
public:
    virtual ~IAudioChannelCreator() = default;

    /// A channel that is not started yet, or null. `client` and `codecList` are the host's and outlive the
    /// channel.
    virtual IAudioInputChannel* CreateAudioInputChannel(std::uint32_t audioChannel,
                                                        std::uint32_t videoChannel,
                                                        ipcapture::IHostAudioClient* client,
                                                        ipcapture::IHostCodecList* codecList) = 0;

    /// Always null: no audio is sent to a device.
    virtual IAudioOutputChannel* CreateAudioOutputChannel(std::uint32_t audioChannel, std::uint32_t a,
                                                          std::uint32_t b, std::uint32_t c) = 0;
};

} // namespace korvane
