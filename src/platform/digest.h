#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace korvane::platform
{

/// The MD5 digest (RFC 1321) of `bytes`. False when the system offers no MD5; `digest` is then all zeros.
/// Digest authentication needs MD5 also on systems whose policy bars it for signatures. Any thread.
bool Md5(std::span<const std::uint8_t> bytes, std::array<std::uint8_t, 16>& digest);

} // namespace korvane::platform
