#pragma once

#include <charconv>
#include <chrono>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace larkmoor
{

/// Decimal digits and nothing else (a signed `Number` may have "-" in front), at most `largest`. None for any
/// other text, the empty one included.
template <typename Number = std::uint64_t>
std::optional<Number> ReadNumber(std::string_view text,
                                 std::type_identity_t<Number> largest = std::numeric_limits<Number>::max())
{
    Number value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value > largest)
        return std::nullopt;
    return value;
}

/// A decimal number from 0 to `largest`, without sign or exponent.
std::optional<double> ReadDecimal(std::string_view text, double largest);

/// "5s", "300ms", "2m" or bare seconds, from 0 to a year.
std::optional<std::chrono::milliseconds> ReadTime(std::string_view text);

/// The text without blanks and line ends around it.
std::string_view Trim(std::string_view text);

/// The text up to the next `mark`, which is taken off `rest` together with it.
std::string_view CutAt(std::string_view& rest, char mark);

/// The text behind the first `mark`, which is taken off `text` together with it; none without a mark.
std::optional<std::string_view> CutBehind(std::string_view& text, char mark);

/// "640x480" for an `x` between: two numbers as of `ReadNumber`.
template <typename Number>
std::optional<std::pair<Number, Number>> ReadPair(std::string_view text, char between)
{
    const auto second = ReadNumber<Number>(CutBehind(text, between).value_or(""));
    const auto first = ReadNumber<Number>(text);
    return first && second ? std::optional(std::pair(*first, *second)) : std::nullopt;
}

/// Puts `by` wherever `what` stands; `by` may hold it.
void ReplaceAll(std::string& text, std::string_view what, std::string_view by);

/// The pieces between the separators, without empty ones.
std::vector<std::string_view> Split(std::string_view text, char separator);

/// Whether `word`, which is not empty, is one of the pieces of `list`.
bool IsOneOf(std::string_view word, std::string_view list, char separator);

/// Whether the two differ in the case of their letters only.
bool EqualsIgnoringCase(std::string_view a, std::string_view b);

/// "2024-03-01T12:00:00.123Z" for microseconds since 1970.
std::string IsoTime(std::int64_t unixMicroseconds);
std::string IsoTime(std::chrono::system_clock::time_point time);

/// A view of the text, which must outlive it.
inline std::span<const std::uint8_t> AsBytes(std::string_view text)
{
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// Two digits a byte, as those of `digits`.
std::string Hex(std::span<const std::uint8_t> bytes, const char* digits = "0123456789abcdef");

/// RFC 4648, section 4.
std::string Base64(std::span<const std::uint8_t> bytes);

} // namespace larkmoor
