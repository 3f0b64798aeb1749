#include "runtime/bastrel_supported_features.h"

namespace korvane
{

CBastrelSupportedFeatures::CBastrelSupportedFeatures(const std::optional<platform::ProductVersion>& version)
    : versionKnown_(version.has_value()),
      version_(version.value_or(platform::ProductVersion())),
      first_(version_ >= platform::ProductVersion{6, 4, 0, 0}),
      second_(version_ >= platform::ProductVersion{7, 4, 3, 71}),
      allowsAac4_(version_ >= platform::ProductVersion{7, 4, 4, 0})
{
}

} // namespace korvane
