#include "runtime/text.h"

#include "platform/socket.h"

#include <algorithm>
#include <cstdio>

namespace korvane::Utils
{

namespace
{

bool IsDigit(char character)
{
    return character >= '0' && character <= '9';
}

/// The other case of a letter differs in one bit.
std::string WithOtherCase(std::string_view text, char first, char last)
{
    std::string result(text);
    for (char& c : result)
        c = c >= first && c <= last ? static_cast<char>(c ^ 0x20) : c;
    return result;
}

} // namespace

std::string FormatString(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    std::string result = FormatStringList(format, arguments);
    va_end(arguments);
    return result;
}

std::string FormatStringList(const char* format, std::va_list arguments)
{
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    std::string result;
    if (length > 0)
    {
        result.resize(static_cast<std::size_t>(length));
        std::vsnprintf(result.data(), result.size() + 1, format, arguments);
    }
    return result;
}

std::string Trim(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos)
        return {};
    return std::string(text.substr(first, text.find_last_not_of(" \t") - first + 1));
}

std::string ToUpper(std::string_view text)
{
    return WithOtherCase(text, 'a', 'z');
}

std::string ToLower(std::string_view text)
{
    return WithOtherCase(text, 'A', 'Z');
}

std::string ReplaceAll(std::string_view text, std::string_view from, std::string_view to)
{
    std::string result(text);
    for (std::size_t at = 0; !from.empty() && (at = result.find(from, at)) != std::string::npos;
         at += to.size())
        result.replace(at, from.size(), to);
    return result;
}

std::string RemoveChars(std::string_view text, std::string_view chars)
{
    std::string result(text);
    std::erase_if(result, [chars](char c) { return chars.find(c) != std::string_view::npos; });
    return result;
}

std::vector<std::string> SplitString(std::string_view text, char delimiter)
{
    std::vector<std::string> pieces;
    while (!text.empty())
    {
        const std::size_t end = std::min(text.find(delimiter), text.size());
        pieces.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return pieces;
}

std::string JoinWithComma(const std::vector<std::string>& list)
{
    std::string result;
    for (const std::string& item : list)
    {
        if (!result.empty())
            result += ',';
        result += item;
    }
    return result;
}

bool IsInteger(std::string_view text, std::int32_t& value)
{
    const bool hasSign = !text.empty() && (text.front() == '+' || text.front() == '-');
    const std::string_view digits = text.substr(hasSign ? 1 : 0);
    if (digits.empty() || !std::ranges::all_of(digits, IsDigit))
        return false;
    const std::uint32_t magnitude = ToUInt32(digits);
    value = static_cast<std::int32_t>(text.front() == '-' ? 0 - magnitude : magnitude);
    return true;
}

std::uint32_t ToUInt32(std::string_view text)
{
    std::uint32_t value = 0;
    for (const char character : text)
    {
        if (!IsDigit(character))
            return 0;
        value = value * 10 + static_cast<std::uint32_t>(character - '0');
    }
    return value;
}

std::uint32_t FrameTimeFromRate(std::uint32_t rate)
{
    if (rate == 0)
        return 1;
    const float rounded = 1000.0F / static_cast<float>(rate) + 0.5F; // in single precision as a whole
    return static_cast<std::uint32_t>(rounded);
}

std::uint32_t ResolveHostAddress(const std::string& name)
{
    return name.empty() ? 0 : platform::LookUpIPv4(name);
}

} // namespace korvane::Utils
