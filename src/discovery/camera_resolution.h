#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace korvane
{

/// A picture size that a device offers, with the frame times that it can keep at that size. One thread at a
/// time.
class CameraResolution
{
public:
    CameraResolution() = default;
    CameraResolution(std::uint16_t pictureWidth, std::uint16_t pictureHeight)
        : width(pictureWidth), height(pictureHeight)
    {
    }

    void AddFrameTime(std::uint32_t milliseconds) { frameTimes_.push_back(milliseconds); }

    /// Walk the frame times, in milliseconds, with one cursor per object; 0 at the end.
    std::uint32_t GetFirstFrameTime();
    std::uint32_t GetNextFrameTime();

    std::uint16_t width = 0;  ///< pixels
    std::uint16_t height = 0; ///< pixels

private:
    std::vector<std::uint32_t> frameTimes_;
    std::size_t cursor_ = 0;
};

} // namespace korvane
