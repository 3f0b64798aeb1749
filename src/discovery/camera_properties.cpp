#include "discovery/camera_properties.h"

#include <algorithm>

namespace korvane
{

std::uint32_t CCameraProperties::GetFirstCodec()
{
    codecCursor_ = 0;
    return GetNextCodec();
}

std::uint32_t CCameraProperties::GetNextCodec()
{
    return codecCursor_ < codecs_.size() ? codecs_[codecCursor_++] : 0;
}

void CCameraProperties::AddResolution(const CameraResolution& resolution)
{
    const bool isKnown =
        std::ranges::any_of(resolutions_, [&](const CameraResolution& known)
                            { return known.width == resolution.width && known.height == resolution.height; });
    if (!isKnown || resolution.width == 0)
        resolutions_.push_back(resolution);
}

CameraResolution* CCameraProperties::GetFirstResolution()
{
    resolutionCursor_ = 0;
    return GetNextResolution();
}

CameraResolution* CCameraProperties::GetNextResolution()
{
    return resolutionCursor_ < resolutions_.size() ? &resolutions_[resolutionCursor_++] : nullptr;
}

} // namespace korvane
