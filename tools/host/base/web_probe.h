#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace larkmoor::host
{

/// Looks whether anything like a web server answers at an address, and gives an empty text if so, else what
/// is wrong, as in "Connection refused". Takes at most `patience` and the name look-up. Any thread.
std::string ProbeWebServer(const std::string& address, std::uint16_t port,
                           std::chrono::milliseconds patience);

} // namespace larkmoor::host
