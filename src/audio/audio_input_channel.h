#pragma once

#include <cstdint>
#include <memory>

namespace korvane
{

/// One audio stream from a device. `Stop` comes before deletion. Any thread.
class IAudioInputChannel : public std::enable_shared_from_this<IAudioInputChannel>
{
public:
    virtual ~IAudioInputChannel() = default;

    virtual bool Start() = 0;
    /// From its return on the channel calls its client no more. Returns when the channel's thread has ended;
    /// from inside a call on the client it does not wait: the channel then lives until its thread has ended,
    /// if a `shared_ptr` owns it.
    /// False then: it is to be stopped once more, from elsewhere, before what it uses goes.
    virtual bool Stop() = 0;
    virtual std::uint32_t GetState() const = 0; ///< as `ipcapture::IHostAudioClient::StateChanged`
};

} // namespace korvane
