#include "discovery/camera_resolution.h"

namespace korvane
{

std::uint32_t CameraResolution::GetFirstFrameTime()
{
    cursor_ = 0;
    return GetNextFrameTime();
}

std::uint32_t CameraResolution::GetNextFrameTime()
{
    return cursor_ < frameTimes_.size() ? frameTimes_[cursor_++] : 0;
}

} // namespace korvane
