#pragma once

#include <string>

namespace korvane::test
{

/// What every request begins with that sets parameters of a device.
inline const std::string kSet = "/cgi-bin/admin/setparam.cgi?";

} // namespace korvane::test
