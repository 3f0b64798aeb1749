#pragma once

#include <cstdint>

namespace korvane
{

/// One audio stream from a device. `Stop` comes before deletion. Any thread.
class IAudioInputChannel
{
public:
    virtual ~IAudioInputChannel() = default;

    virtual bool Start() = 0;
    virtual bool Stop() = 0;                    ///< returns when the channel's thread has ended
    virtual std::uint32_t GetState() const = 0; ///< as `ipcapture::IHostAudioClient::StateChanged`
};

} // namespace korvane
