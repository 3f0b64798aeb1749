#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

/// What is believed of the numbers in a device's answer. They size tables and loops, here and in a host that
/// is handed them back, so a lie must stay harmless; each bound is far above what any device has.
namespace korvane
{

inline constexpr std::uint32_t kMaxChannels = 64;
inline constexpr std::uint32_t kMaxStreams = 16;  ///< of one channel
inline constexpr std::uint32_t kMaxSignals = 256; ///< digital inputs, and outputs
inline constexpr std::uint32_t kMaxPresets = 1024;
inline constexpr std::size_t kMaxListEntries = 256; ///< resolutions, frame rates, codecs
inline constexpr std::size_t kMaxAnswerBytes =
    1 << 20; ///< of one answer; what stands behind it is not looked at

/// The number that the leading digits of `text` make, wrapped at 32 bits; 0 without a leading digit.
constexpr std::uint32_t LeadingNumber(std::string_view text)
{
    std::uint32_t number = 0;
    for (std::size_t at = 0; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at)
        number = number * 10 + static_cast<std::uint32_t>(text[at] - '0');
    return number;
}

} // namespace korvane
