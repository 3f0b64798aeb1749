#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace larkmoor::host
{

inline constexpr std::uint32_t kMostChannels = 64;
inline constexpr std::uint32_t kMostContacts = 256; ///< inputs, and outputs

/// The codec codes of the host's side.
enum class Codec : std::uint32_t
{
    Mjpeg = 1,
    Mpeg4 = 2,
    H264 = 3,
};

/// How the media come.
enum class Transport
{
    Udp,       ///< RTP over UDP
    Tcp,       ///< RTP interleaved in the RTSP connection
    Multicast, ///< RTP over UDP to a group
    Http,      ///< Motion JPEG over plain HTTP
};

/// As command lines, device files and reports call them.
inline const std::map<std::string, Codec> kCodecs = {
    {"mjpeg", Codec::Mjpeg}, {"mpeg4", Codec::Mpeg4}, {"h264", Codec::H264}};
inline const std::map<std::string, Transport> kTransports = {{"udp", Transport::Udp},
                                                             {"tcp", Transport::Tcp},
                                                             {"multicast", Transport::Multicast},
                                                             {"http", Transport::Http}};

/// What a host knows of one device, and tells the driver at `Open`.
struct Device
{
    std::string address = "127.0.0.1";
    std::uint16_t port = 80; ///< HTTP
    std::string user;
    std::string password;
    std::string model = "Vivotek";
    Codec codec = Codec::H264;
    std::uint32_t channels = 1;
    std::uint32_t inputs = 0;
    std::uint32_t outputs = 0;
    std::map<std::uint32_t, std::string> properties; ///< by number, from 1
};

/// Where a device's streams are: one path per stream, the same for every channel but for "%c", which becomes
/// the number of the channel from 0, and "%C", from 1.
struct StreamPaths
{
    std::uint16_t rtspPort = 554;
    std::vector<std::string> http;
    std::vector<std::string> rtsp;
};

/// The paths of the maker's current devices with this many channels, as they leave the factory.
StreamPaths UsualPaths(std::uint32_t channels);

/// The highest number that a property may have.
constexpr std::uint32_t kLargestProperty = 999;

/// Property 14, the table of stream paths for `channels` channels.
std::string StreamTable(const StreamPaths& paths, std::uint32_t channels);

/// Gives every property that is not there yet the value of a current camera with numeric resolutions, and
/// fills the holes up to the highest one below 101 with "(none)": the driver stops at the first number that
/// is missing.
void FillProperties(Device& device, const StreamPaths& paths, Transport transport);

/// Reads a device file, which holds a JSON object:
/// {"address": "10.0.0.5", "port": 80, "user": "", "password": "", "model": "", "codec": "h264", "channels":
/// 1, "inputs": 0, "outputs": 0, "properties": {"1": "0", ...}}. All keys are optional. Throws `Failure`
/// (Usage) with the reason.
Device ReadDeviceFile(const std::filesystem::path& file);

} // namespace larkmoor::host
