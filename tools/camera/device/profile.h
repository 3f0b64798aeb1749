#pragma once

#include "camera/device/parameter_store.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
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

} // namespace larkmoor::camera
