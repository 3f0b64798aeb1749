#pragma once

#include "runtime/debug_message.h"

#include <larkmoor/host_frame.h>

#include <cstdint>
#include <string>
#include <utility>

namespace korvane
{

/// How a device is reached. Copied by value: a holder's copy stays as it is while the driver's changes.
class DEVICE_INFO
{
public:
    DEVICE_INFO() = default;
    DEVICE_INFO(std::string deviceAddress, std::uint16_t httpPort, std::string userName,
                std::string userPassword, std::string modelText)
        : address(std::move(deviceAddress)),
          port(httpPort),
          user(std::move(userName)),
          password(std::move(userPassword)),
          model(std::move(modelText))
    {
    }
    DEVICE_INFO(const DEVICE_INFO&) = default;
    DEVICE_INFO& operator=(const DEVICE_INFO&) = default;
    virtual ~DEVICE_INFO() = default;

    std::uint32_t networkTimeoutMs =
        5000; ///< of RTSP and HTTP operations; twice this bounds a channel's stop
    std::uint32_t signalLossTimeoutMs = 5000; ///< how long a stream may be silent
    std::string address;                      ///< host name or IP address
    std::uint16_t port = 80;                  ///< HTTP port
    std::string user;
    std::string password; ///< never to be written to a log
    std::string model;    ///< as the host names it
};

/// What the host wants of a video channel.
struct ChannelSettings
{
    std::uint32_t width = 0;           ///< pixels
    std::uint32_t height = 0;          ///< pixels
    std::uint32_t frameIntervalMs = 0; ///< between frames; 0: no rate is asked for
    std::uint32_t streamRole = 0;      ///< 0 recording, 1 live, 2 remote
    std::uint32_t reserved = 0;        ///< always 0
    std::uint32_t quality = 0;         ///< 0 to 100
};

/// What the host may change while a channel runs.
struct ChannelChange
{
    std::uint32_t width = 0;           ///< pixels
    std::uint32_t height = 0;          ///< pixels
    std::uint32_t frameIntervalMs = 0; ///< between frames; 0: no rate is asked for
};

/// The whole frame rate, in frames a second, that stands for an interval: 1 for an interval of 0. The one
/// rule for all requests and comparisons, in single precision as the devices' tables were made with.
inline std::uint32_t FrameRateFromInterval(std::uint32_t frameIntervalMs)
{
    if (frameIntervalMs == 0)
        return 1;
    // Rounded as the rule says. NOLINTNEXTLINE(bugprone-incorrect-roundings)
    return static_cast<std::uint32_t>(1000.0 / static_cast<double>(static_cast<float>(frameIntervalMs)) +
                                      0.5);
}

/// The driver as its channels, threads and services see it: the hub for everything that belongs to one
/// device. Holders don't own it. Any thread, without a lock: what is read here changes only in `Open` and
/// `Close`, while nothing runs.
class IDriver : public IDebugMessage
{
public:
    virtual std::string GetDriverName() const = 0; ///< "Larkmoor"
    virtual std::string
    GetHostDirectory() const = 0; ///< of the host's executable, with its closing separator
    virtual const DEVICE_INFO& GetDeviceInfo() const = 0;

    /// Digital inputs, digital outputs.
    virtual std::pair<std::uint32_t, std::uint32_t> GetIOCounts() const = 0;

    virtual ipcapture::IHostFrameAllocator* GetFrameAllocator() const = 0; ///< the host's; may be null
    virtual std::uint32_t GetVideoStandard() const = 0;                    ///< 1 NTSC, 0 PAL
    virtual std::uint32_t GetCodec() const = 0;        ///< 1 Motion JPEG, 2 MPEG-4, 3 H.264
    virtual std::uint32_t GetChannelCount() const = 0; ///< video channels of the device

    /// The text of a numbered property; empty if the host gave none or "(none)".
    virtual std::string GetPropertyText(std::uint32_t number) const = 0;

    /// The property as a whole number in 32 bits; `kNoProperty` if it is absent or no number.
    virtual std::int32_t GetPropertyInt(std::uint32_t number) const = 0;

    /// The settings of a running video channel; all 0 if there is none.
    virtual ChannelSettings GetChannelSettings(std::uint32_t channel) const = 0;
};

/// What `GetPropertyInt` gives for a property that is absent or no number.
inline constexpr std::int32_t kNoProperty = INT32_MIN;

} // namespace korvane
