#pragma once

#include "discovery/frame_rates.h"
#include "discovery/resolution_list.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

/// Devices that list their capabilities, in the groups "capability" and "status", here without quotes. No
/// state; any thread.
namespace korvane
{

struct CurrentVideo
{
    std::uint32_t channelCount = 1; ///< 1 to kMaxChannels
    std::uint32_t streamCount = 4;  ///< of one channel, 1 to kMaxStreams
    bool isNtsc = false;
    std::vector<std::uint32_t> codecs; ///< as in `CCameraProperties`; never empty
    FrameRateSet frameRates;
    ResolutionList resolutions; ///< never without a notation
};

/// `isHostNtsc` is the video standard if the device doesn't tell its own. Nothing without a known codec or
/// without a resolution that can be read.
std::optional<CurrentVideo> ReadCurrentVideo(std::string_view text, bool isHostNtsc);

/// The count of digital inputs or outputs under `key`, 0 if it isn't told or can't be true.
std::uint32_t ReadSignalCount(std::string_view text, std::string_view key);

} // namespace korvane
