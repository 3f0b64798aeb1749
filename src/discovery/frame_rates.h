#pragma once

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

/// Frame rates that a device offers, in frames per second. No state; any thread.
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

/// The default of a device that lists rates without resolutions: the lowest that is at least half of the
/// highest. `rates` must not be empty.
std::uint32_t DefaultOf(const FrameRateSet& rates);

} // namespace korvane
