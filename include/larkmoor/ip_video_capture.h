#pragma once

#include <larkmoor/host_channel_client.h>
#include <larkmoor/host_channel_settings.h>

#include <cstdint>

namespace korvane
{
namespace ipcapture
{

/// The video channels of one device, by index from 0. Owned by the driver. Any thread, but do not stop a
/// channel while another thread changes it or asks for its state.
class IIPVideoCapture
{
public:
    virtual ~IIPVideoCapture() = default;

    virtual std::uint32_t GetChannelCount() = 0; ///< channels of the device, running or not

    /// Starts a channel; if it is running, stops it first, as `StopChannel` does. The driver uses
    /// `channelClient` until the channel stops and reads `channelSettings` during the call. The channel
    /// connects in the background: true does not mean that the device can be reached. Returns false if the
    /// channel does not exist, if `channelSettings` is null or incomplete, or if a thread cannot be created.
    /// Returns true without starting anything if the codec given at `Open` is unknown.
    virtual bool StartChannel(std::uint32_t channel, IHostChannelClient* channelClient,
                              IHostChannelSettings* channelSettings) = 0;

    /// Stops a channel. No call on its client begins after it returns. It returns within 2 s, or, if a call
    /// into the host does not return, within 24 s: the driver then abandons the thread. From inside a call on
    /// the channel's own client it does not wait. Do not call it from the allocator, a frame or the message
    /// sink, or from a call on the client of another channel. Returns false if the channel was not started.
    virtual bool StopChannel(std::uint32_t channel) = 0;

    /// Gives a running channel a new picture size, read during the call, and a new frame interval in
    /// milliseconds. Returns at once. The channel applies the change at once over RTSP, and with its next
    /// connection on a device with the legacy interface; over HTTP and multicast it ignores the change.
    /// Returns false if the channel was not started or `resolution` is null.
    virtual bool ChangeChannel(std::uint32_t channel, IHostResolution* resolution,
                               std::uint32_t frameInterval) = 0;

    virtual std::uint32_t GetReservedValue() = 0; ///< always 0

    /// Sets `state` to 0 running, 2 connecting or 3 stopped, `detail` to 0, and `text`, a buffer of
    /// `textSize` bytes, to an empty text. Any of the pointers may be null. Returns false, with state 3, if
    /// the channel was not started.
    virtual bool GetChannelState(std::uint32_t channel, std::uint32_t* state, std::uint32_t* detail,
                                 char* text, std::uint32_t textSize) = 0;

    virtual bool ReservedCall1(std::uint32_t a, std::uint32_t b, std::uint32_t c) = 0; ///< always false
    virtual bool ReservedCall2(std::uint32_t a, std::uint32_t b, std::uint32_t c) = 0; ///< always false
};

class IIPVideoCaptureEx : public IIPVideoCapture
{
public:
    virtual bool ReservedCallEx1(std::uint32_t a) = 0; ///< always false
    virtual bool ReservedCallEx2(std::uint32_t a) = 0; ///< always false
};

} // namespace ipcapture
} // namespace korvane
