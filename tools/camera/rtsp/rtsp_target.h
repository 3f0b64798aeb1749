#pragma once

#include "camera/device/parameter_store.h"
#include "camera/device/profile.h"
#include "camera/rtsp/rtsp_options.h"

#include <optional>
#include <string_view>

namespace larkmoor::camera
{

/// The stream that has the RTSP access name `path`, with the multicast group that the parameters give it:
/// none for devices that have no such parameters. Nothing if no stream has that name.
std::optional<RtspTarget> FindRtspTarget(const ParameterStore& store, const Profile& profile,
                                         std::string_view path);

} // namespace larkmoor::camera
