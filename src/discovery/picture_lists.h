#pragma once

#include "device/device_properties.h"
#include "discovery/camera_properties.h"

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

/// The lists of picture sizes and of frame rates that a device gives. Rates are in frames per second. No
/// state; any thread.
namespace korvane
{

using FrameRateSet = std::set<std::uint32_t>;

/// The frame rates that a device lists, one per resolution.
///
/// Texts that are no integers above 0 are left out. With fewer than `count` left, the list is filled up with
/// the full rate of the video standard, 30 on NTSC and 25 on PAL. `rates` is emptied and receives every rate
/// of the list, and the usual steps up to the highest of them.
std::vector<std::uint32_t> ReadFrameRates(const std::vector<std::string>& texts, std::size_t count,
                                          bool isNtsc, FrameRateSet& rates);

struct ResolutionList
{
    ResolutionNotation notation = ResolutionNotation::None;
    std::vector<CameraResolution> resolutions; ///< each with one frame time at most
    std::uint32_t lowestRate = 0;              ///< of those resolutions; 0 if there are none
};

/// Pairs each text with the frame rate at the same place. The first text that can be read decides on the
/// notation, and texts in the other one are left out. Empty when there are fewer rates than texts.
///
/// Numeric: width, any one character, height; blanks may stand before each of them, and whatever follows is
/// ignored; neither is 0 or above 65535. Named: QCIF, CIF, 4CIF or D1, with blanks anywhere.
ResolutionList MatchResolutions(const std::vector<std::string>& texts,
                                const std::vector<std::uint32_t>& rates, bool isNtsc);

} // namespace korvane
