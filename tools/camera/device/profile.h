#pragma once

#include "camera/device/parameter_store.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace larkmoor::camera
{

/// A kind of device: what it is called, its channels and streams, and its parameters. A profile is data; no
/// other code knows the names.
struct Profile
{
    std::string name;
    std::string summary;    ///< one line for `--help`
    std::uint32_t channels; ///< video inputs
    std::uint32_t streams;  ///< encoded streams of each
    bool legacy;            ///< dotted parameter names of the older firmware
    struct Parameter
    {
        std::string key;
        std::string value;
        std::string rule; ///< as that of ParameterStore::Define
    };
    std::vector<Parameter> parameters;

    /// All names with their summaries, in the order of the list for users.
    static std::vector<Profile> All();

    /// The profile of that name, or nothing.
    static std::optional<Profile> Find(std::string_view name);

    /// Makes the parameters known to `store`.
    void Fill(ParameterStore& store) const;
};

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
