#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace korvane::platform
{

/// The MD5 digest (RFC 1321) of `bytes`; all zeros when the system offers no MD5. Digest authentication needs
/// MD5 also on systems whose policy bars it for signatures. Any thread.
std::array<std::uint8_t, 16> Md5(std::span<const std::uint8_t> bytes);

} // namespace korvane::platform
