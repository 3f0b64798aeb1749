#include "host/base/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace larkmoor::host
{

namespace
{

constexpr double kLongestMs = 366.0 * 24 * 3600 * 1000;
constexpr double kLargestRate = 1000.0; // an interval is a whole number of milliseconds

} // namespace

std::optional<std::uint64_t> ReadNumber(std::string_view text, std::uint64_t largest)
{
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size() || value > largest)
        return std::nullopt;
    return value;
}

std::optional<double> ReadPositive(std::string_view text, double largest)
{
    if (text.empty() || text.find_first_not_of("0123456789.") != std::string_view::npos)
        return std::nullopt;
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !(value > 0) || value > largest)
        return std::nullopt;
    return value;
}

std::optional<PictureSize> ReadSize(std::string_view text)
{
    const std::size_t cross = text.find('x');
    if (cross == std::string_view::npos)
        return std::nullopt;
    const auto width = ReadNumber(text.substr(0, cross), 65535);
    const auto height = ReadNumber(text.substr(cross + 1), 65535);
    if (!width || !height || *width == 0 || *height == 0)
        return std::nullopt;
    return PictureSize{static_cast<std::uint16_t>(*width), static_cast<std::uint16_t>(*height)};
}

std::optional<std::chrono::milliseconds> ReadDuration(std::string_view text)
{
    double unit = 1000;
    if (text.ends_with("ms"))
    {
        unit = 1;
        text.remove_suffix(2);
    }
    else if (text.ends_with('s'))
    {
        text.remove_suffix(1);
    }
    else if (text.ends_with('m'))
    {
        unit = 60000;
        text.remove_suffix(1);
    }
    const auto value = ReadPositive(text, kLongestMs / unit);
    if (!value)
        return std::nullopt;
    return std::chrono::milliseconds(std::llround(*value * unit));
}

std::optional<Change> ReadChange(std::string_view text)
{
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos)
        return std::nullopt;
    const auto at = ReadDuration(text.substr(0, colon));
    std::string_view size = text.substr(colon + 1);
    std::string_view rate;
    const std::size_t sign = size.find('@');
    if (sign != std::string_view::npos)
    {
        rate = size.substr(sign + 1);
        size = size.substr(0, sign);
    }

    Change change;
    if (!at || (size.empty() && rate.empty()) || (sign != std::string_view::npos && rate.empty()))
        return std::nullopt;
    change.at = *at;
    if (!size.empty() && !(change.size = ReadSize(size)))
        return std::nullopt;
    if (!rate.empty() && !(change.rate = ReadPositive(rate, kLargestRate)))
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

std::string IsoTime(std::int64_t unixMicroseconds)
{
    std::int64_t seconds = unixMicroseconds / 1'000'000;
    std::int64_t rest = unixMicroseconds % 1'000'000;
    if (rest < 0)
    {
        rest += 1'000'000;
        --seconds;
    }
    const std::time_t moment = seconds;
    std::tm calendar{};
    if (gmtime_r(&moment, &calendar) == nullptr)
        return "";
    std::array<char, 64> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &calendar);
    std::snprintf(text.data() + length, text.size() - length, ".%03dZ", static_cast<int>(rest / 1000));
    return text.data();
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
