#pragma once

#include "discovery/camera_resolution.h"
#include "discovery/frame_rates.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Devices whose firmware tells nothing of its capabilities: what they can do is known by model, and a few
/// values come from the groups "system", "video" and "network", without quotes and blanks. No state; any
/// thread.
namespace korvane
{

struct LegacyDevice
{
    std::uint32_t channelCount = 0;
    std::uint32_t outputCount = 0; ///< digital outputs
    std::uint32_t codec = 0;       ///< as in `CCameraProperties`
    bool isNtsc = false;
    bool isJpegOverHttp = false;
    FrameRateSet frameRates;
    std::uint32_t defaultFrameRate = 0;
    std::vector<CameraResolution> resolutions;
    std::string rtspPort;
    std::string rtspName; ///< the one access name; empty for a device without RTSP
};

/// The number of digital inputs; nothing when there are more than can be counted.
std::optional<std::uint32_t> CountLegacyInputs(std::string_view text);

/// What the device `model` is. `isHostNtsc` is the video standard if the device doesn't tell its own.
/// Nothing for an unknown model, or when what its table needs is missing.
std::optional<LegacyDevice> ReadLegacyDevice(std::string_view model, std::string_view text, bool isHostNtsc);

} // namespace korvane
