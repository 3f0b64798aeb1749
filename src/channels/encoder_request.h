#pragma once

#include "device/device_properties.h"
#include "device/driver.h"
#include "device/settings_file.h"

#include <cstdint>
#include <string>
#include <string_view>

/// What is asked of a device's encoder, as texts. No state; any thread. Channels and streams count from 0.
namespace korvane
{

/// How a codec is asked for.
struct EncoderCodec
{
    const char* name;    ///< as a value, and in the names of the codec's parameters
    float worstQvalue;   ///< for quality 0
    float bestQvalue;    ///< for quality 100; the lower, the better the picture
    bool hasRateControl; ///< else it is set by quality alone
    bool tellsEveryRate; ///< an interval of 0 goes out as rate 1; else it is left out
    bool hasFields;      ///< whole frames may be asked of a device that makes fields
};

inline constexpr EncoderCodec kH264Encoder{"h264", 51.0F, 0.1F, true, true, false};
inline constexpr EncoderCodec kMpeg4Encoder{"mpeg4", 31.0F, 1.0F, true, false, true};
inline constexpr EncoderCodec kMjpegEncoder{"mjpeg", 200.0F, 10.0F, false, true, false};
inline constexpr EncoderCodec kMjpegOverHttpEncoder{"mjpeg", 200.0F, 10.0F, false, false, true};

/// What a quality of 0 to 100 becomes.
struct EncoderQuality
{
    EncoderQuality(std::uint32_t quality, const EncoderCodec& codec);

    std::uint32_t quant; ///< 1 worst to 5 best, in steps of twenty
    std::int32_t qvalue; ///< within the codec's bounds, cut to a whole number
};

/// The pieces of a setparam request for one stream, each of them items "&videoin_c%u_s%u_NAME=VALUE".
class CEncoderRequest
{
public:
    /// The references outlive the object.
    CEncoderRequest(const EncoderCodec& codec, const DeviceFacts& device, const ChannelSettings& settings,
                    std::uint32_t channel, std::uint32_t stream)
        : codec_(codec), device_(device), settings_(settings), channel_(channel), stream_(stream)
    {
    }

    std::string Codec() const;

    /// Empty for a camera type that has no text. Without a value for a width that has no name.
    std::string Size() const;
    std::string FrameRate() const;
    std::string Quality() const;

    /// Of a codec that has one, with the distance of key frames.
    std::string RateControl(const RateSettings& rates) const;

private:
    std::string Item(const std::string& name, const std::string& value) const;
    std::string CodecItem(const char* name, const std::string& value) const;

    const EncoderCodec& codec_;
    const DeviceFacts& device_;
    const ChannelSettings& settings_;
    const std::uint32_t channel_;
    const std::uint32_t stream_;
};

// A device of the legacy interface is told only what its parameters, its answer to "video" without quotes and
// blanks, hold otherwise than wanted: items with "&" between them, empty if all is right.
std::string LegacyMpeg4Changes(const ChannelSettings& settings, std::string_view parameters);
std::string LegacyMjpegChanges(std::uint32_t channel, const ChannelSettings& settings,
                               std::string_view parameters);

/// The path of a legacy device's stream of Motion JPEG.
std::string LegacyMjpegPath(std::uint32_t channel, const ChannelSettings& settings);

} // namespace korvane
