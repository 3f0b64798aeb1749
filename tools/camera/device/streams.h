#pragma once

#include "camera/device/parameter_store.h"
#include "camera/device/profile.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace larkmoor::camera
{

/// A stream of a device, both numbers from 0.
struct StreamId
{
    std::uint32_t channel = 0;
    std::uint32_t stream = 0;

    bool operator==(const StreamId&) const = default;
    bool operator<(const StreamId& other) const
    {
        return std::tie(channel, stream) < std::tie(other.channel, other.stream);
    }

    /// "c0_s1", as in parameter names and in the truth.
    std::string Text() const { return "c" + std::to_string(channel) + "_s" + std::to_string(stream); }
};

/// All streams of a profile, in order.
std::vector<StreamId> AllStreams(const Profile& profile);

/// The stream that answers at `name` below the server's root, by the parameters that hold access names; a
/// slash in front is passed over. `protocol` is "http" or "rtsp". Nothing if no stream has that name.
std::optional<StreamId> FindStream(const ParameterStore& store, const Profile& profile,
                                   std::string_view protocol, std::string_view name);

} // namespace larkmoor::camera
