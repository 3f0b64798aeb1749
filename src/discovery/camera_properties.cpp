#include "discovery/camera_properties.h"

#include "runtime/text_scanner.h"

namespace korvane
{

bool CAudioCapabilities::Parse(const char* text)
{
    count = 0;
    stereo = false;
    TextScanner scanner(text == nullptr ? "" : text);
    std::uint32_t channels = 0;
    std::uint32_t stereoNumber = 0;
    if (!scanner.Literal("Count=") || scanner.Number(channels) != std::errc() || !scanner.Literal(";"))
        return false;
    scanner.SkipSpace();
    if (!scanner.Literal("IsStereo=") || scanner.Number(stereoNumber) != std::errc())
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
