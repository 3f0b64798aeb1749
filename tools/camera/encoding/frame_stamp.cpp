#include "camera/encoding/frame_stamp.h"

#include <chrono>
#include <cstdio>

namespace larkmoor::camera
{

std::string MakeFrameStamp(std::uint32_t number)
{
    const auto now = std::chrono::duration_cast<std::chrono::microseconds>(
        std::chrono::system_clock::now().time_since_epoch());
    char text[48];
    std::snprintf(text, sizeof text, "LarkmoorStamp001%016llX%08X",
                  static_cast<unsigned long long>(now.count()), static_cast<unsigned>(number));
    return text;
}

} // namespace larkmoor::camera
