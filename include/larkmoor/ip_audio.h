#pragma once

#include <larkmoor/host_frame.h>

#include <cstdint>

namespace korvane::ipcapture
{

/// Takes the audio of one channel. Implemented and owned by the host, valid from `StartChannel` until the
/// matching `StopChannel` (or `Close`) returns.
class IHostAudioClient
{
public:
    virtual ~IHostAudioClient() = default;

    virtual bool AudioFrame(IHostFrame* frame) = 0; ///< as `IHostChannelClient::DeliverFrame`

    /// 0 stopped, 1 starting, 2 streaming, 3 stopping, 4 error, 5 signal lost. Runs on a thread of the
    /// channel.
    virtual void StateChanged(std::uint32_t audioChannel, std::uint32_t state) = 0;
};

/// One audio format that the host knows. Implemented and owned by the host.
class IHostCodecItem
{
public:
    virtual ~IHostCodecItem() = default;

    virtual std::uint32_t GetCode() = 0; ///< an audio format code
    virtual void ReservedSlot1() = 0;    ///< never called by the driver
    virtual bool IsUsable() = 0;         ///< the host takes frames of this format
};

/// The audio formats that the host knows. Implemented and owned by the host, valid as long as the audio
/// client.
class IHostCodecList
{
public:
    virtual ~IHostCodecList() = default;

    virtual std::uint32_t GetCount() = 0;
    virtual IHostCodecItem* GetItem(std::uint32_t index) = 0; ///< from 0; null past the end
};

/// The audio inputs of one device, by channel number. Owned by the driver; any thread.
class IIPAudioCapture2
{
public:
    virtual ~IIPAudioCapture2() = default;

    virtual std::uint32_t GetChannelCount() = 0; ///< channels that run

    /// True if the channel runs, also when it ran already. `videoChannel`, from 0, is the video channel that
    /// the audio belongs to. `client` and `codecList` are kept until the channel stops.
    virtual bool StartChannel(std::uint32_t audioChannel, std::uint32_t videoChannel,
                              IHostAudioClient* client, IHostCodecList* codecList) = 0;

    /// From its return on the channel's client is called no more. Within 2 s after the last call into the
    /// host has returned; from inside a call on the client it does not wait. False if the channel did not
    /// run.
    virtual bool StopChannel(std::uint32_t audioChannel) = 0;
    virtual std::uint32_t
    GetChannelState(std::uint32_t audioChannel) = 0; ///< as `StateChanged`; 0 if unknown
    virtual bool ReservedCall1(std::uint32_t a, std::uint32_t b, std::uint32_t c) = 0; ///< always false
};

/// One piece of audio on its way to a device. Implemented and owned by the host; read during the call.
class IHostOutgoingAudio
{
public:
    virtual ~IHostOutgoingAudio() = default;

    virtual std::uint32_t GetChannel() = 0; ///< the low byte is the audio channel number
};

/// The audio outputs of one device. No audio is sent to a device yet: `StartChannel` gives false, and with it
/// all the others. Owned by the driver; any thread.
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
    virtual std::uint32_t GetChannelValue(std::uint32_t audioChannel) = 0; ///< 0 if there is no such channel
    virtual bool ReservedCall1(std::uint32_t a, std::uint32_t b, std::uint32_t c) = 0; ///< always false
};

} // namespace korvane::ipcapture
