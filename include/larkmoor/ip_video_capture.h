#pragma once

#include <larkmoor/host_channel_client.h>
#include <larkmoor/host_channel_settings.h>

#include <cstdint>

namespace korvane::ipcapture
{

/// The video channels of one device, by index from 0. Owned by the driver; any thread, but one channel is not
/// to be stopped while another thread changes it or asks for its state.
class IIPVideoCapture
{
public:
    virtual ~IIPVideoCapture() = default;

    virtual std::uint32_t GetChannelCount() = 0; ///< places of the device, whatever runs

    /// Starts a channel; one that runs in this place is stopped first. `channelClient` is kept until the
    /// channel stops, `channelSettings` is read during the call. False if the channel is out of range or its
    /// thread could not start. True without a running channel when the device's codec is unknown.
    virtual bool StartChannel(std::uint32_t channel, IHostChannelClient* channelClient,
                              IHostChannelSettings* channelSettings) = 0;

    /// From its return on the channel's client is called no more. Within 2 s, and within 24 s when a call
    /// into the host does not return: its thread is then given up. From inside a call on the client it does
    /// not wait. False if nothing was started in this place.
    virtual bool StopChannel(std::uint32_t channel) = 0;

    /// Hands a new picture size and frame interval (milliseconds) to a channel, which takes them over by
    /// itself: at once over RTSP, with the next connection if the device has the legacy interface, not at
    /// all over HTTP and multicast. False if nothing stands in this place.
    virtual bool ChangeChannel(std::uint32_t channel, IHostResolution* resolution,
                               std::uint32_t frameInterval) = 0;

    virtual std::uint32_t GetReservedValue() = 0; ///< always 0

    /// `state`: 0 running, 2 connecting, 3 stopped. `detail` is set to 0 and `text` to an empty text of at
    /// most `textSize` bytes (`text` may be null). False, with state 3, if nothing stands in this place.
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

} // namespace korvane::ipcapture
