#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace larkmoor
{

/// MD5 (RFC 1321) as 32 lower-case hexadecimal digits; it serves as a fingerprint and in Digest answers, so
/// it works also where the system allows it for nothing else. Throws `std::runtime_error` on a system without
/// it.
std::string Md5Hex(std::span<const std::uint8_t> bytes);
std::string Md5Hex(std::string_view text);

} // namespace larkmoor
