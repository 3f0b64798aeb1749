#pragma once

#include "runtime/channel_settings.h"

#include <cstdint>
#include <string>

/// The CGI requests that bring a device's encoder to Motion JPEG with the settings of a channel, as texts. No
/// state; any thread. `channel` counts from 0.
namespace korvane::MjpegRequest
{

/// How a device names its picture sizes (driver property 6).
inline constexpr std::uint32_t kNumericResolutions = 1; ///< "640x480"
inline constexpr std::uint32_t kNamedResolutions = 2;   ///< "CIF"

/// The device's five steps, from 0 to 100: 1 worst to 5 best.
std::uint32_t Quant(std::uint32_t quality);

/// The device's fine scale, from 0 to 100: 200 worst to 10 best.
std::int32_t QValue(std::uint32_t quality);

/// The value of the device's resolution parameter; empty for a size or a camera type that has no text.
std::string ResolutionText(std::uint32_t cameraType, const ChannelSettings& settings);

/// The request for a device of the current interface. `resolution` may be empty: then the size stays as it
/// is. `fieldToFrame` asks the device to make whole frames of its fields.
std::string Encoder(std::uint32_t channel, const ChannelSettings& settings, const std::string& resolution,
                    bool fieldToFrame);

/// The sensor mode that a picture size needs: "quality" above a width of 800, else "framerate".
const char* SensorMode(std::uint32_t width);

/// The size code of a device of the legacy interface.
std::uint32_t LegacySizeCode(const ChannelSettings& settings);

/// The request that changes what `parameters` (a legacy device's answer, without quotes and blanks) holds
/// otherwise than wanted; empty if all is right.
std::string LegacyEncoder(std::uint32_t channel, const ChannelSettings& settings,
                          const std::string& parameters);

/// The path of a legacy device's stream.
std::string LegacyStreamPath(std::uint32_t channel, const ChannelSettings& settings);

} // namespace korvane::MjpegRequest
