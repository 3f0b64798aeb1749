#pragma once

#include <larkmoor/host_frame.h>

#include <cstdint>

namespace korvane
{
namespace ipcapture
{

/// Receives the audio of one channel. Implemented and owned by the host, valid from `StartChannel` until the
/// matching `StopChannel` (or `Close`) returns.
class IHostAudioClient
{
public:
    virtual ~IHostAudioClient() = default;

    /// As `IHostChannelClient::DeliverFrame`. A refusal costs this frame only.
    virtual bool AudioFrame(IHostFrame* frame) = 0;

    /// `state`: 0 stopped, 1 starting, 2 streaming, 3 stopping, 5 signal lost; the driver never enters 4,
    /// error. `audioChannel` is the number passed to `StartChannel`. On a thread of the channel.
    virtual void StateChanged(std::uint32_t audioChannel, std::uint32_t state) = 0;
};

/// One audio format that the host supports. Implemented and owned by the host.
class IHostCodecItem
{
public:
    virtual ~IHostCodecItem() = default;

    virtual std::uint32_t GetCode() = 0; ///< an audio format code of host_frame.h
    virtual void ReservedSlot1() = 0;    ///< never called by the driver
    virtual bool IsUsable() = 0;         ///< the host accepts frames of this format
};

/// The audio formats that the host supports. Implemented and owned by the host, valid as long as the audio
/// client. The driver reads it on the channel's thread before each session. List G.711 as `kFormatG711MuLaw`;
/// frames can still be A-law.
class IHostCodecList
{
public:
    virtual ~IHostCodecList() = default;

    virtual std::uint32_t GetCount() = 0;
    virtual IHostCodecItem* GetItem(std::uint32_t index) = 0; ///< from 0; null counts as unusable
};

/// The audio inputs of one device, by channel number. Owned by the driver; any thread.
class IIPAudioCapture2
{
public:
    virtual ~IIPAudioCapture2() = default;

    virtual std::uint32_t GetChannelCount() = 0; ///< running channels

    /// Starts an audio channel. `audioChannel` is a number that the host chooses; as many channels run at the
    /// same time as property 101 counts. `videoChannel`, from 0, is the video channel whose audio it is. The
    /// driver uses `client` and `codecList` until the channel stops. Returns true if the channel runs; if it
    /// was running already, the arguments of the earlier call remain in use. Returns false if too many run or
    /// a thread cannot be created.
    virtual bool StartChannel(std::uint32_t audioChannel, std::uint32_t videoChannel,
                              IHostAudioClient* client, IHostCodecList* codecList) = 0;

    /// Stops an audio channel. No call on its client begins after it returns. It returns within 2 s after the
    /// last call into the host has returned; from inside a call on the channel's own client it does not wait.
    /// Returns false if the channel is not running.
    virtual bool StopChannel(std::uint32_t audioChannel) = 0;
    virtual std::uint32_t
    GetChannelState(std::uint32_t audioChannel) = 0; ///< as `StateChanged`; 0 if it is not running
    virtual bool ReservedCall1(std::uint32_t a, std::uint32_t b, std::uint32_t c) = 0; ///< always false
};

/// One piece of audio for a device. Implemented and owned by the host; read during the call.
class IHostOutgoingAudio
{
public:
    virtual ~IHostOutgoingAudio() = default;

    virtual std::uint32_t GetChannel() = 0; ///< the low byte is the audio channel number
};

/// The audio outputs of one device. The driver does not send audio to a device: `StartChannel` and all other
/// boolean operations return false. Owned by the driver; any thread.
class IIPAudioSender
{
public:
    virtual ~IIPAudioSender() = default;

    virtual std::uint32_t GetChannelCount() = 0;
    virtual bool StartChannel(std::uint32_t audioChannel, std::uint32_t a, std::uint32_t b,
                              std::uint32_t c) = 0;
    virtual bool StopChannel(std::uint32_t audioChannel) = 0;
    virtual bool SendFrame(IHostOutgoingAudio* frame) = 0;
    virtual bool SetChannelValue(std::uint32_t audioChannel, std::uint32_t value) = 0;
    virtual std::uint32_t GetChannelValue(std::uint32_t audioChannel) = 0;             ///< always 0
    virtual bool ReservedCall1(std::uint32_t a, std::uint32_t b, std::uint32_t c) = 0; ///< always false
};

} // namespace ipcapture
} // namespace korvane
