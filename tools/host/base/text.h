#pragma once

#include "base/text.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace larkmoor::host
{

/// A picture's size in pixels.
struct PictureSize
{
    std::uint16_t width = 0;
    std::uint16_t height = 0;

    bool operator==(const PictureSize&) const = default;
};

/// A change of the encoder while a stream runs.
struct Change
{
    std::chrono::milliseconds at{};  ///< behind the first frame
    std::optional<PictureSize> size; ///< none: as before
    std::optional<double> rate;      ///< frames a second; none: as before
};

/// A decimal number above 0 and at most `largest`, without sign or exponent.
std::optional<double> ReadPositive(std::string_view text, double largest);

/// "640x480"; both sides from 1 to 65535.
std::optional<PictureSize> ReadSize(std::string_view text);

/// "90", "90s", "1.5s", "250ms" or "2m"; above 0 and up to a year.
std::optional<std::chrono::milliseconds> ReadDuration(std::string_view text);

/// "5s:640x480@10", "5s:640x480" or "5s:@10".
std::optional<Change> ReadChange(std::string_view text);

/// The interval that a host asks for: milliseconds between frames, 0 for a rate of 0.
std::uint16_t IntervalOfRate(double framesPerSecond);

/// The text with dots in the place of control characters, which may come from a camera.
std::string Printable(std::string_view text);

/// "512 B", "1.5 KB", "4.2 MB": for people, in steps of 1000.
std::string ReadableBytes(std::uint64_t bytes);

} // namespace larkmoor::host
