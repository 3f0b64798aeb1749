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
    explicit CBastrelSupportedFeatures(const std::optional<platform::ProductVersion>& version);

    bool IsVersionKnown() const { return versionKnown_; } ///< if not, a later reader tries again
    const platform::ProductVersion& Version() const { return version_; }
    bool SupportsFirst() const { return first_; }   ///< 6.4.0.0; nothing in the driver asks
    bool SupportsSecond() const { return second_; } ///< 7.4.3.71; nothing in the driver asks
    bool AllowsAac4() const { return allowsAac4_; } ///< 7.4.4.0: "aac4" audio may be offered

private:
    bool versionKnown_;
    platform::ProductVersion version_;
    bool first_;
    bool second_;
    bool allowsAac4_;
};

} // namespace korvane
