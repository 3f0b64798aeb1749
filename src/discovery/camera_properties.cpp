#include "discovery/camera_properties.h"

#include <algorithm>
#include <charconv>
#include <system_error>

namespace korvane
{

void SkipSpace(std::string_view& text)
{
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
}

namespace
{

/// Takes `word` and a number, which may have blanks in front, off the front of `text`.
bool TakeNumber(std::string_view& text, std::string_view word, std::uint32_t& number)
{
    if (!text.starts_with(word))
        return false;
    text.remove_prefix(word.size());
    SkipSpace(text);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc())
        return false;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return true;
}

} // namespace

bool CAudioCapabilities::Parse(const char* text)
{
    count = 0;
    stereo = false;
    std::string_view rest = text == nullptr ? "" : text;
    std::uint32_t channels = 0;
    std::uint32_t stereoNumber = 0;
    if (!TakeNumber(rest, "Count=", channels) || !rest.starts_with(';'))
        return false;
    rest.remove_prefix(1);
    SkipSpace(rest);
    if (!TakeNumber(rest, "IsStereo=", stereoNumber))
        return false;
    count = channels;
    stereo = stereoNumber == 1;
    return true;
}

std::string CAudioCapabilities::Text() const
{
    return "Count=" + std::to_string(count) + "; IsStereo=" + (stereo ? "1" : "0");
}

void CCameraProperties::AddResolution(const CameraResolution& resolution)
{
    for (auto* known = resolutions_.First(); known != nullptr; known = resolutions_.Next())
    {
        if (known->width == resolution.width && known->height == resolution.height && resolution.width != 0)
            return;
    }
    resolutions_.Add(resolution);
}

} // namespace korvane
