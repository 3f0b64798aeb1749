#include "base/frame_stamp.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <limits>
#include <string_view>

namespace larkmoor
{

namespace
{

constexpr std::string_view kMagic = "LarkmoorStamp001";
constexpr std::size_t kTimeDigits = 16;
constexpr std::size_t kNumberDigits = 8;
constexpr std::size_t kHeadBytes = 512; // JPEG: behind the start of image
constexpr std::size_t kTailBytes = 128; // H.264: the last unit but the delimiter

template <typename Number>
bool ReadHex(std::string_view text, Number& value)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, 16);
    return error == std::errc() && end == text.data() + text.size();
}

std::optional<FrameStamp> FindIn(std::string_view bytes)
{
    const std::size_t at = bytes.rfind(kMagic);
    if (at == std::string_view::npos || bytes.size() - at < kMagic.size() + kTimeDigits + kNumberDigits)
        return std::nullopt;
    std::uint64_t sent = 0;
    FrameStamp stamp;
    if (!ReadHex(bytes.substr(at + kMagic.size(), kTimeDigits), sent) ||
        !ReadHex(bytes.substr(at + kMagic.size() + kTimeDigits, kNumberDigits), stamp.number) ||
        sent > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
        return std::nullopt;
    stamp.sent = static_cast<std::int64_t>(sent);
    return stamp;
}

} // namespace

std::string MakeFrameStamp(std::uint32_t number)
{
    const auto now = std::chrono::duration_cast<std::chrono::microseconds>(
        std::chrono::system_clock::now().time_since_epoch());
    char text[48];
    std::snprintf(text, sizeof text, "LarkmoorStamp001%016llX%08X",
                  static_cast<unsigned long long>(now.count()), static_cast<unsigned>(number));
    return text;
}

std::optional<FrameStamp> FindStamp(std::span<const std::uint8_t> frame)
{
    const std::string_view bytes(reinterpret_cast<const char*>(frame.data()), frame.size());
    if (const auto stamp = FindIn(bytes.substr(bytes.size() - std::min(bytes.size(), kTailBytes))))
        return stamp;
    return FindIn(bytes.substr(0, kHeadBytes));
}

} // namespace larkmoor
