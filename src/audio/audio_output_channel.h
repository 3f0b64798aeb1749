#pragma once

#include <larkmoor/ip_audio.h>

#include <cstdint>

namespace korvane
{

/// One audio stream to a device, as `CIPAudioSender` would use it. Nothing implements it: no audio is sent to
/// a device. `Stop` comes before deletion. Any thread.
class IAudioOutputChannel
{
public:
    virtual ~IAudioOutputChannel() = default;

    virtual bool Start() = 0;
    virtual bool Stop() = 0;
    virtual bool SendFrame(ipcapture::IHostOutgoingAudio* frame) = 0;
    virtual bool SetValue(std::uint32_t value) = 0;
    virtual std::uint32_t GetValue() const = 0;
};

} // namespace korvane
