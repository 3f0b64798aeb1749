#include "camera/rtsp/rtsp_target.h"

#include <string>

namespace larkmoor::camera
{

std::optional<RtspTarget> FindRtspTarget(const ParameterStore& store, const Profile& profile,
                                         std::string_view path)
{
    const auto id = FindStream(store, profile, "rtsp", path);
    if (!id)
        return std::nullopt;
    // A device with a single video input leaves the channel out of these keys.
    const std::string channel = profile.channels < 2 ? "" : "_c" + std::to_string(id->channel);
    const std::string head = "network_rtsp" + channel + "_s" + std::to_string(id->stream) + "_multicast_";
    RtspTarget target;
    target.id = *id;
    target.group = store.Get(head + "ipaddress");
    target.port = static_cast<std::uint16_t>(store.GetNumber(head + "videoport", 0) & 0xFFFEu); // RTP is even
    target.ttl = static_cast<std::uint8_t>(store.GetNumber(head + "ttl", target.ttl));
    target.announceGroup = store.Get(head + "alwaysmulticast") != "0";
    if (target.port == 0)
        target.group.clear();
    return target;
}

} // namespace larkmoor::camera
