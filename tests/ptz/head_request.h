#pragma once

#include <string>

namespace korvane::test
{

/// What every request for the head of channel 0 with the camera ID 7 begins with.
inline const std::string kControl = "/cgi-bin/camctrl/camctrl.cgi?channel=0&camid=7";

} // namespace korvane::test
