#pragma once

#include "camera/device/parameter_store.h"
#include "camera/device/profile.h"

#include <optional>
#include <string_view>

namespace larkmoor::camera
{

/// A stream as RTSP offers it.
struct RtspTarget
{
    StreamId id;
    std::string group;      ///< multicast address, "" to offer none
    std::uint16_t port = 0; ///< RTP port of the group, even; RTCP has the next one
    std::uint8_t ttl = 15;
    bool announceGroup = true; ///< the description names the group, so that clients can go there
};

/// What the media sections of a description are called below the stream's address.
inline constexpr std::string_view kVideoTrack = "trackID=1";
inline constexpr std::string_view kAudioTrack = "trackID=2";

/// Whether an RTSP address names the sound of its stream.
bool NamesAudio(std::string_view address);

/// The path of an RTSP address below the server's root, without slashes at its ends and without what names a
/// track or a query. Points into `address`.
std::string_view PathOf(std::string_view address);

/// The stream that has the RTSP access name `path`, with the multicast group that the parameters give it:
/// none for devices that have no such parameters. Nothing if no stream has that name.
std::optional<RtspTarget> FindRtspTarget(const ParameterStore& store, const Profile& profile,
                                         std::string_view path);

} // namespace larkmoor::camera
