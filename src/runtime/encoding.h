#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Digests and text encodings for authentication and stream descriptions. No state; any thread.
namespace korvane::Utils
{

/// The MD5 digest (RFC 1321) of the bytes of `text` as 32 lower-case hexadecimal characters.
std::string Md5Hex(std::string_view text);

/// Base64 (RFC 4648, section 4) of `size` bytes at `data`, with CR LF behind each line of 76 characters that
/// 57 bytes filled, also when the text ends there. `outSize` holds the room at `out` on entry and the length
/// on return; no zero byte is added. False, with `outSize` 0 and nothing written, when the room is below the
/// worst case for `size`, which is a few characters more than what a success writes.
bool Base64Encode(const std::uint8_t* data, std::uint32_t size, char* out, std::uint32_t& outSize);

/// Reads Base64 from `size` characters at `text`. Characters outside the alphabet, padding included, are
/// passed over; a zero byte between two groups of four ends the input. `outSize` holds the room at `out`
/// on entry and the length on return. False, with `outSize` 0, when the result does not fit; the room's
/// contents are then undefined.
bool Base64Decode(const char* text, std::uint32_t size, std::uint8_t* out, std::uint32_t& outSize);

/// Fills `bytes` from pairs of hexadecimal digits in either case. Any other character counts as the digit
/// 0, and a single last character gives a byte of its own value.
void HexToBytes(std::string_view text, std::vector<std::uint8_t>& bytes);

/// The credentials of HTTP Basic authentication (RFC 7617): Base64 of "user:password". False, with `out`
/// empty, when user, colon and password have more than 72 bytes together.
bool MakeBasicCredentials(const std::string& user, const std::string& password, std::string& out);

} // namespace korvane::Utils
