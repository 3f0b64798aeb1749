#pragma once

#include <cstdarg>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Helpers for byte strings, numbers in text, and host names. No state; any thread. Nothing here depends on
/// the locale: only ASCII letters have a case, and only ASCII digits are digits.
namespace korvane::Utils
{

/// A text of any length by the rules of printf; empty when the format is broken.
[[gnu::format(printf, 1, 2)]] std::string FormatString(const char* format, ...);

/// The same for an argument list; `arguments` is used up.
[[gnu::format(printf, 1, 0)]] std::string FormatStringList(const char* format, std::va_list arguments);

/// `text` without the blanks and tabs at both ends.
std::string Trim(std::string_view text);

std::string ToUpper(std::string_view text);
std::string ToLower(std::string_view text);

/// `text` with each occurrence of `from` replaced by `to`; what was put in is not searched again. An empty
/// `from` leaves the text as it is. For readers of parameters; none needs it yet.
std::string ReplaceAll(std::string_view text, std::string_view from, std::string_view to);

/// `text` without any character that occurs in `chars`.
std::string RemoveChars(std::string_view text, std::string_view chars);

/// The pieces between delimiters. Empty pieces in the middle stay; a closing delimiter opens no further
/// piece; an empty text has none.
std::vector<std::string> SplitString(std::string_view text, char delimiter);

/// The items joined with ",", where no comma stands in front of the first item that is not empty.
std::string JoinWithComma(const std::vector<std::string>& list);

/// True for decimal digits, at least one, behind an optional sign; `value` then holds the number, wrapped at
/// 32 bits, and is otherwise left alone.
bool IsInteger(std::string_view text, std::int32_t& value);

/// The strict reading of a number in camera text: decimal digits only. Any other character makes the whole
/// number 0, and so does an empty text. The value wraps at the width of the result.
std::uint32_t ToUInt32(std::string_view text);
inline std::uint16_t ToUInt16(std::string_view text)
{
    return static_cast<std::uint16_t>(ToUInt32(text));
}
inline std::uint8_t ToUInt8(std::string_view text)
{
    return static_cast<std::uint8_t>(ToUInt32(text));
}

/// Milliseconds of one frame at `rate` frames per second, rounded to the nearest; 1 for a rate of 0.
std::uint32_t FrameTimeFromRate(std::uint32_t rate);

/// The first IPv4 address of a host name or of a dotted address, in network byte order; 0 for an empty name
/// and for one that nobody knows. Blocks for as long as the system's resolver does.
std::uint32_t ResolveHostAddress(const std::string& name);

} // namespace korvane::Utils
