#include "base/text.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace larkmoor
{

std::optional<double> ReadDecimal(std::string_view text, double largest)
{
    double value = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
    if (error != std::errc() || end != text.data() + text.size() || !(value >= 0 && value <= largest))
        return std::nullopt;
    return value;
}

std::optional<std::chrono::milliseconds> ReadTime(std::string_view text)
{
    constexpr double kLongestMs = 366.0 * 24 * 3600 * 1000; // keeps sums of times far from overflow
    double unit = 1000;
    std::size_t unitLength = 0;
    if (text.ends_with("ms"))
    {
        unit = 1;
        unitLength = 2;
    }
    else if (text.ends_with('s') || text.ends_with('m'))
    {
        unit = text.ends_with('m') ? 60'000 : 1000;
        unitLength = 1;
    }
    text.remove_suffix(unitLength);
    const std::optional<double> value = ReadDecimal(text, kLongestMs / unit);
    if (!value)
        return std::nullopt;
    return std::chrono::milliseconds(std::llround(*value * unit));
}

std::string_view Trim(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t\r\n";
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

std::string_view CutAt(std::string_view& rest, char mark)
{
    const std::size_t end = std::min(rest.find(mark), rest.size());
    const std::string_view piece = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return piece;
}

std::optional<std::string_view> CutBehind(std::string_view& text, char mark)
{
    const std::size_t at = text.find(mark);
    if (at == std::string_view::npos)
        return std::nullopt;
    const std::string_view behind = text.substr(at + 1);
    text = text.substr(0, at);
    return behind;
}

void ReplaceAll(std::string& text, std::string_view what, std::string_view by)
{
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size())
        text.replace(at, what.size(), by);
}

std::vector<std::string_view> Split(std::string_view text, char separator)
{
    std::vector<std::string_view> pieces;
    while (!text.empty())
    {
        if (const std::string_view piece = CutAt(text, separator); !piece.empty())
            pieces.push_back(piece);
    }
    return pieces;
}

bool IsOneOf(std::string_view word, std::string_view list, char separator)
{
    const std::vector<std::string_view> words = Split(list, separator);
    return std::find(words.begin(), words.end(), word) != words.end();
}

bool EqualsIgnoringCase(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

std::string IsoTime(std::int64_t unixMicroseconds)
{
    std::int64_t seconds = unixMicroseconds / 1'000'000;
    std::int64_t rest = unixMicroseconds % 1'000'000;
    if (rest < 0)
    {
        rest += 1'000'000;
        --seconds;
    }
    const std::time_t moment = seconds;
    std::tm calendar{};
    if (gmtime_r(&moment, &calendar) == nullptr)
        return "";
    char text[64];
    const std::size_t length = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &calendar);
    std::snprintf(text + length, sizeof text - length, ".%03dZ", static_cast<int>(rest / 1000));
    return text;
}

std::string IsoTime(std::chrono::system_clock::time_point time)
{
    using std::chrono::microseconds;
    return IsoTime(std::int64_t{std::chrono::floor<microseconds>(time).time_since_epoch().count()});
}

std::string Hex(std::span<const std::uint8_t> bytes, const char* digits)
{
    std::string text;
    for (const std::uint8_t byte : bytes)
        text += {digits[byte >> 4], digits[byte & 0x0F]};
    return text;
}

std::string Base64(std::span<const std::uint8_t> bytes)
{
    constexpr const char* kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += 3)
    {
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - at);
        std::uint32_t group = 0;
        for (std::size_t i = 0; i < 3; ++i)
            group = group << 8 | (i < count ? bytes[at + i] : 0u);
        for (std::size_t i = 0; i < 4; ++i)
            text += i <= count ? kLetters[group >> (18 - 6 * i) & 0x3F] : '=';
    }
    return text;
}

} // namespace larkmoor
