#pragma once

#include "discovery/picture_lists.h"
#include "runtime/text.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What the two generations of devices say of themselves. No state; any thread.
///
/// The numbers in a device's answer size tables and loops, here and in a host that is handed them back, so a
/// lie must stay harmless: each bound is far above what any device has.
namespace korvane
{

inline constexpr std::uint32_t kMaxChannels = 64;
inline constexpr std::uint32_t kMaxStreams = 16;    ///< of one channel
inline constexpr std::uint32_t kMaxSignals = 256;   ///< digital inputs, and outputs
inline constexpr std::size_t kMaxListEntries = 256; ///< resolutions, frame rates, codecs
inline constexpr std::size_t kMaxAnswerBytes =
    1 << 20; ///< of one answer; what stands behind it is not looked at

/// The number that the leading digits of `text` make, wrapped at 32 bits; 0 without a leading digit.
inline std::uint32_t LeadingNumber(std::string_view text)
{
    return Utils::ToUInt32(text.substr(0, text.find_first_not_of("0123456789")));
}

struct DeviceDescription
{
    std::uint32_t channelCount = 1; ///< 1 to kMaxChannels
    std::uint32_t streamCount = 4;  ///< of one channel, 1 to kMaxStreams
    std::uint32_t inputCount = 0;   ///< digital inputs, and
    std::uint32_t outputCount = 0;  ///< outputs: up to kMaxSignals
    bool isNtsc = false;
    bool isJpegOverHttp = false;
    std::vector<std::uint32_t> codecs; ///< as in `CCameraProperties`; never empty
    FrameRateSet frameRates;
    std::uint32_t defaultFrameRate = 25;
    ResolutionList resolutions;
    std::string rtspPort; ///< of a legacy device with RTSP, and
    std::string rtspName; ///< its one access name; else empty
};

/// A device that lists its capabilities, in the groups "capability" and "status", here without quotes.
/// `isHostNtsc` is the video standard if the device doesn't tell its own. Nothing without a known codec or
/// without a resolution that can be read.
std::optional<DeviceDescription> DescribeCurrent(std::string_view text, bool isHostNtsc);

/// A device whose firmware tells nothing of its capabilities: what it can do is known by `model`, and a few
/// values come from the groups "system", "video" and "network", without quotes and blanks. Nothing for an
/// unknown model, or when what its table needs is missing.
std::optional<DeviceDescription> DescribeLegacy(std::string_view model, std::string_view text,
                                                bool isHostNtsc);

} // namespace korvane
