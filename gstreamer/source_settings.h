#pragma once

#include <cstdint>
#include <string>

namespace larkmoor::gst
{

enum class CodecChoice
{
    Auto, ///< as the device file says, else H.264
    H264,
    Mpeg4,
    Mjpeg,
};

enum class TransportChoice
{
    Auto, ///< as another element of the process or the settings file has it, else RTP over UDP
    Udp,
    Tcp,
    Multicast,
    Http, ///< Motion JPEG over HTTP
};

enum class AudioChoice
{
    None,
    Auto, ///< what device and settings file agree on
    Aac,
    G711,
    G726,
};

/// What a device is asked for. These three may change while the element plays.
struct PictureWish
{
    std::uint32_t width = 640;
    std::uint32_t height = 480;
    std::uint32_t intervalMs = 40; ///< between pictures; 0 asks for no rate

    bool operator==(const PictureWish&) const = default;
};

/// The properties of one element.
struct SourceSettings
{
    std::string deviceFile;
    std::string location; ///< without a password
    std::string user;     ///< empty: that of the location or the device file
    std::string password; ///< the same
    CodecChoice codec = CodecChoice::Auto;
    TransportChoice transport = TransportChoice::Auto;
    PictureWish picture;
    std::uint32_t quality = 60; ///< 0 to 100
    std::uint32_t channel = 0;
    AudioChoice audio = AudioChoice::None;
    std::string settingsFile;           ///< empty: the element writes its own
    std::string library;                ///< empty: where it is installed, see `DriverLibrary`
    std::uint32_t failAfterSeconds = 0; ///< 0: never
};

} // namespace larkmoor::gst
