#include "camera/rtsp/rtsp_target.h"

#include <algorithm>
#include <string>

namespace larkmoor::camera
{

namespace
{

std::string_view WithoutSlashes(std::string_view text)
{
    while (text.starts_with('/'))
        text.remove_prefix(1);
    while (text.ends_with('/'))
        text.remove_suffix(1);
    return text;
}

} // namespace

std::string_view PathOf(std::string_view address)
{
    if (const std::size_t scheme = address.find("://"); scheme != std::string_view::npos)
        address.remove_prefix(std::min(address.find('/', scheme + 3), address.size()));
    address = WithoutSlashes(address.substr(0, address.find('?')));
    for (const std::string_view track : {kVideoTrack, kAudioTrack})
    {
        if (address.ends_with(track))
            return WithoutSlashes(address.substr(0, address.size() - track.size()));
    }
    return address;
}

bool NamesAudio(std::string_view address)
{
    return WithoutSlashes(address.substr(0, address.find('?'))).ends_with(kAudioTrack);
}

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
