#include "camera/device/streams.h"

namespace larkmoor::camera
{

namespace
{

std::string AccessNameKey(const Profile& profile, std::string_view protocol, StreamId id)
{
    if (profile.legacy)
        return protocol == "rtsp" ? "network.accessname" : "network.http.accessname";
    // A device with a single video input leaves the channel out of these keys.
    const std::string head = "network_" + std::string(protocol);
    const std::string channel = profile.channels < 2 ? "" : "_c" + std::to_string(id.channel);
    return head + channel + "_s" + std::to_string(id.stream) + "_accessname";
}

} // namespace

std::vector<StreamId> AllStreams(const Profile& profile)
{
    std::vector<StreamId> streams;
    for (std::uint32_t channel = 0; channel < profile.channels; ++channel)
    {
        for (std::uint32_t stream = 0; stream < profile.streams; ++stream)
            streams.push_back({channel, stream});
    }
    return streams;
}

std::optional<StreamId> FindStream(const ParameterStore& store, const Profile& profile,
                                   std::string_view protocol, std::string_view name)
{
    if (name.starts_with('/'))
        name.remove_prefix(1);
    if (name.empty())
        return std::nullopt;
    for (const StreamId id : AllStreams(profile))
    {
        if (store.Get(AccessNameKey(profile, protocol, id)) == name)
            return id;
    }
    return std::nullopt;
}

} // namespace larkmoor::camera
