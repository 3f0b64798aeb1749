#pragma once

#include "device/driver.h"
#include "platform/host_process.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace korvane
{

class CXMLParser;

enum class QualityMode : std::uint32_t
{
    kVbr = 0,
    kCbr = 1,
    kAuto = 2, ///< as the device is set
};

enum class VideoMode : std::uint32_t
{
    kFrameRate = 0,
    kQuality = 1,
    kAuto = 2, ///< as the device is set
};

/// How the encoder of one channel spends its bits.
struct RateSettings
{
    QualityMode qualityMode = QualityMode::kVbr;
    std::uint32_t minBitrate = 10;      ///< bits per second; at most `maxBitrate`
    std::uint32_t maxBitrate = 8000000; ///< bits per second
    VideoMode videoMode = VideoMode::kFrameRate;
};

/// What a PTZ head can do.
struct PTZCapability
{
    std::uint32_t type = 0;
    std::string subtype;
    std::uint32_t minMove = 1; ///< pan and tilt speeds
    std::uint32_t maxMove = 7;
    std::uint32_t minZoom = 1; ///< zoom speeds
    std::uint32_t maxZoom = 6;
    std::string device; ///< part of the model text of the devices that it is for; empty in a default
};

enum class RtpMode : std::uint32_t
{
    kUdp = 0,
    kInterleaved = 2, ///< RTP over the RTSP connection
};

struct TransportSettings
{
    RtpMode rtpMode = RtpMode::kUdp;
    std::uint32_t blocksize = 0; ///< above 100, or 0; video channels don't pass it on
    PTZCapability defaultPTZ;
    std::vector<PTZCapability> specialPTZ; ///< in the order of the file; the first that fits a model counts
};

enum class StreamingMode : std::uint32_t
{
    kUnicast = 0,
    kMulticastPrimary = 1, ///< multicast for the primary stream
    kMulticast = 2,
};

struct AudioCodecs
{
    std::string input; ///< as the file names it; empty when it doesn't
    std::string output;
};

/// The XML file by which an administrator tunes the driver, in the host's directory or, if there is none, in
/// the system's; docs/settings-file.md tells what may stand in it. Each read opens the file anew, so that a
/// change counts from the next read on. Without the file, and with a broken one, all is as the defaults say:
/// nothing is found in it. Any thread; nothing throws.
class CSettingsFile
{
public:
    /// Entries for PTZ models beyond these are passed over: each costs some searches through the file.
    static constexpr std::size_t kMaxSpecialPTZ = 256;

    /// `hostDirectory` with its closing separator, which is added when missing; empty stands for the current
    /// directory. Without a driver name there is no file.
    CSettingsFile(const std::string& hostDirectory, const std::string& driverName,
                  const std::string& systemDirectory = platform::kSystemDirectory);
    explicit CSettingsFile(const std::string& driverName); ///< in `platform::HostDirectory`
    explicit CSettingsFile(const IDriver& driver);

    RateSettings ReadRateSettings(const DEVICE_INFO& deviceInfo, std::uint32_t channel) const;
    TransportSettings ReadTransportSettings(const DEVICE_INFO& deviceInfo) const;
    StreamingMode ReadStreamingMode() const;
    AudioCodecs ReadAudioCodecs(const DEVICE_INFO& deviceInfo) const;

    const std::string& Path() const { return path_; } ///< in the host's directory

private:
    void OpenIn(CXMLParser& file) const;

    const std::string path_;
    const std::string systemPath_;
};

} // namespace korvane
