#include "host/base/text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace larkmoor::host
{

namespace
{

constexpr double kLargestRate = 1000.0; // an interval is a whole number of milliseconds

} // namespace

std::optional<double> ReadPositive(std::string_view text, double largest)
{
    const std::optional<double> value = ReadDecimal(text, largest);
    return value && *value > 0 ? value : std::nullopt;
}

std::optional<PictureSize> ReadSize(std::string_view text)
{
    const auto sides = ReadPair<std::uint16_t>(text, 'x');
    if (!sides || sides->first == 0 || sides->second == 0)
        return std::nullopt;
    return PictureSize{sides->first, sides->second};
}

std::optional<std::chrono::milliseconds> ReadDuration(std::string_view text)
{
    const std::optional<std::chrono::milliseconds> time = ReadTime(text);
    return time && time->count() > 0 ? time : std::nullopt;
}

std::optional<Change> ReadChange(std::string_view text)
{
    const auto picture = CutBehind(text, ':');
    const auto at = ReadDuration(text);
    if (!picture || !at)
        return std::nullopt;
    std::string_view size = *picture;
    const auto rate = CutBehind(size, '@');
    Change change{*at, std::nullopt, std::nullopt};
    if ((!size.empty() || !rate) && !(change.size = ReadSize(size)))
        return std::nullopt;
    if (rate && !(change.rate = ReadPositive(*rate, kLargestRate)))
        return std::nullopt;
    return change;
}

std::uint16_t IntervalOfRate(double framesPerSecond)
{
    if (!(framesPerSecond > 0))
        return 0;
    const double interval = std::round(1000.0 / framesPerSecond);
    return interval >= 65535 ? 65535 : static_cast<std::uint16_t>(interval < 1 ? 1 : interval);
}

std::string Printable(std::string_view text)
{
    std::string result(text);
    std::replace_if(
        result.begin(), result.end(),
        [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }, '.');
    return result;
}

std::string ReadableBytes(std::uint64_t bytes)
{
    static constexpr std::array<const char*, 5> kUnits = {"B", "KB", "MB", "GB", "TB"};
    auto value = static_cast<double>(bytes);
    std::size_t unit = 0;
    while (value >= 1000 && unit + 1 < kUnits.size())
    {
        value /= 1000;
        ++unit;
    }
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), unit == 0 ? "%.0f %s" : "%.1f %s", value, kUnits[unit]);
    return text.data();
}

} // namespace larkmoor::host
