#pragma once

#include <larkmoor/ip_audio.h>

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
    virtual void RequestStop() = 0; ///< tells the channel's thread to stop, without waiting; `Stop` follows
    virtual std::uint32_t GetState() const = 0; ///< as `ipcapture::IHostAudioClient::StateChanged`
};

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
