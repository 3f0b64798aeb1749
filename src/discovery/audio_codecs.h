#pragma once

#include <string>
#include <string_view>

namespace korvane
{

/// The audio codecs of a device's comma-separated list that the driver can take, best first: aac4 if
/// `isAacAllowed`, then g711, then g726. Compared without case, told as the device writes them, each once.
/// Empty if there are none. No state; any thread.
std::string SelectAudioCodecs(std::string_view offered, bool isAacAllowed);

} // namespace korvane
