#pragma once

#include <cstdint>
#include <string>

namespace korvane::platform
{

/// The first IPv4 address of `name` (a host name or dotted decimal) in network byte order; 0 when there is
/// none. Asks the system's resolver, which may block for as long as its configuration says. Any thread.
std::uint32_t LookUpIPv4(const std::string& name);

} // namespace korvane::platform
