#pragma once

#include <string_view>

namespace larkmoor::camera
{

/// What the one media section of a description is called below the stream's address.
inline constexpr std::string_view kVideoTrack = "trackID=1";

/// The path of an RTSP address below the server's root, without slashes at its ends and without what names a
/// track or a query. Points into `address`.
std::string_view PathOf(std::string_view address);

} // namespace larkmoor::camera
