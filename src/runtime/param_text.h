#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Reads flat texts of `key=value` items: the answers of a camera's CGI programs (`assign` "=", `separators`
/// "&\r\n"), and RTSP headers and SDP lines with separators of their own. No state; any thread.
///
/// A key is the whole text between a separator and `assign`, with case, after blanks and tabs at its ends are
/// cut off. A value runs from behind `assign` to the next of the `separators`, quotes and blanks included.
/// A missing key and an empty value read alike.
namespace korvane::Utils
{

/// Of camera text.
inline constexpr std::string_view kParamAssign = "=";
inline constexpr std::string_view kParamSeparators = "&\r\n";

/// The value of the first item with that key and a value; otherwise an empty text.
std::string GetParamValue(std::string_view text, std::string_view key, std::string_view assign = kParamAssign,
                          std::string_view separators = kParamSeparators);

/// The value as a strict decimal number (see ToUInt32); 0 when the key is missing.
std::uint32_t GetParamUInt(std::string_view text, std::string_view key,
                           std::string_view assign = kParamAssign,
                           std::string_view separators = kParamSeparators);

/// The pieces of the value between occurrences of `delimiter`, without the empty ones; none when the value
/// or the delimiter is empty.
std::vector<std::string> GetParamList(std::string_view text, std::string_view key, std::string_view assign,
                                      std::string_view delimiter, std::string_view separators);

/// One item for a request that sets parameters: `key`, `assign` and `wanted` in a row, or an empty text when
/// `wanted` is empty or is what `text` holds for the key already. Compares exactly, so `text` must come
/// without quotes.
std::string MakeParamChange(std::string_view wanted, std::string_view text, std::string_view key,
                            std::string_view assign, std::string_view separators);
std::string MakeParamChange(std::uint32_t wanted, std::string_view text, std::string_view key,
                            std::string_view assign, std::string_view separators);

} // namespace korvane::Utils
