#pragma once

#include <cstdint>

namespace korvane
{

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

} // namespace korvane
