#pragma once

#include "platform/host_process.h"

#include <optional>

namespace korvane
{

/// The module whose product version tells what the host can do; read, never loaded or linked.
inline constexpr const char* kHostCoreLibrary = "bastrel.dll";

/// What the host's core library can do, from its version. One thread.
class CBastrelSupportedFeatures
{
public:
    /// `version` as `platform::ReadProductVersion` gives it; without one nothing is supported.
    explicit CBastrelSupportedFeatures(const std::optional<platform::ProductVersion>& version)
        : version_(version)
    {
    }

    bool IsVersionKnown() const { return version_.has_value(); } ///< if not, a later reader tries again
    platform::ProductVersion Version() const { return version_.value_or(platform::ProductVersion()); }
    bool SupportsFirst() const { return Version() >= platform::ProductVersion{6, 4, 0, 0}; }   ///< not asked
    bool SupportsSecond() const { return Version() >= platform::ProductVersion{7, 4, 3, 71}; } ///< not asked
    bool AllowsAac4() const { return Version() >= platform::ProductVersion{7, 4, 4, 0}; } ///< to offer "aac4"

private:
    std::optional<platform::ProductVersion> version_;
};

} // namespace korvane
