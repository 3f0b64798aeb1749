#pragma once

#include "discovery/camera_resolution.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The ways in which devices write picture sizes. No state; any thread.
namespace korvane
{

/// How a device names its sizes; the numbers are those of the property "Camera type".
enum class ResolutionNotation : std::uint32_t
{
    None = 0,
    Numeric = 1, ///< like "640x480"
    Named = 2    ///< like "4CIF", whose height depends on the video standard
};

/// Width, any one character, height; blanks may stand before each of them, and whatever follows is ignored.
/// Nothing for a width or height of 0 or above 65535.
std::optional<CameraResolution> ReadNumericResolution(std::string_view text);

/// QCIF, CIF, 4CIF or D1, with blanks anywhere. Nothing for any other name.
std::optional<CameraResolution> ReadNamedResolution(std::string_view text, bool isNtsc);

struct ResolutionList
{
    ResolutionNotation notation = ResolutionNotation::None;
    std::vector<CameraResolution> resolutions; ///< each with one frame time
    std::uint32_t lowestRate = 0; ///< of those resolutions, frames per second; 0 if there are none
};

/// Pairs each text with the frame rate at the same place. The first text that can be read decides on the
/// notation, and texts in the other one are left out. Empty when there are fewer rates than texts.
ResolutionList MatchResolutions(const std::vector<std::string>& texts,
                                const std::vector<std::uint32_t>& rates, bool isNtsc);

} // namespace korvane
