#include "discovery/camera_properties.h"

#include <algorithm>

namespace korvane
{

void SkipSpace(std::string_view& text)
{
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
}

namespace
{

bool TakeWord(std::string_view& text, std::string_view word)
{
    const bool isThere = text.starts_with(word);
    text.remove_prefix(isThere ? word.size() : 0);
    return isThere;
}

} // namespace

bool CAudioCapabilities::Parse(const char* text)
{
    count = 0;
    stereo = false;
    std::string_view rest = text == nullptr ? "" : text;
    std::uint32_t channels = 0;
    std::uint32_t stereoNumber = 0;
    if (!TakeWord(rest, "Count=") || !TakeNumber(rest, channels) || !TakeWord(rest, ";"))
        return false;
    SkipSpace(rest);
    if (!TakeWord(rest, "IsStereo=") || !TakeNumber(rest, stereoNumber))
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
