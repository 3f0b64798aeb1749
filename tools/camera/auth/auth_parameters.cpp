#include "camera/auth/auth_parameters.h"

#include <algorithm>
#include <cctype>

namespace larkmoor::camera
{

namespace
{

constexpr std::string_view kBlanksAndCommas = " \t,";

void SkipAny(std::string_view& text, std::string_view characters)
{
    text.remove_prefix(std::min(text.find_first_not_of(characters), text.size()));
}

std::string TakeName(std::string_view& text)
{
    const std::size_t end = std::min(text.find_first_of(" \t,=\""), text.size());
    std::string name(text.substr(0, end));
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    text.remove_prefix(end);
    return name;
}

/// False for a quoted text without an end.
bool TakeValue(std::string_view& text, std::string& value)
{
    if (!text.starts_with('"'))
    {
        const std::size_t end = std::min(text.find_first_of(kBlanksAndCommas), text.size());
        value = text.substr(0, end);
        text.remove_prefix(end);
        return true;
    }
    for (std::size_t i = 1; i < text.size(); ++i)
    {
        if (text[i] == '"')
        {
            text.remove_prefix(i + 1);
            return true;
        }
        if (text[i] == '\\' && ++i == text.size())
            return false;
        value += text[i];
    }
    return false;
}

} // namespace

std::map<std::string, std::string> ParseAuthParameters(std::string_view text)
{
    std::map<std::string, std::string> parameters;
    while (true)
    {
        SkipAny(text, kBlanksAndCommas);
        const std::string name = TakeName(text);
        SkipAny(text, " \t");
        if (name.empty() || !text.starts_with('='))
            return parameters;
        text.remove_prefix(1);
        SkipAny(text, " \t");
        std::string value;
        if (!TakeValue(text, value))
            return parameters;
        parameters.emplace(name, value);
    }
}

} // namespace larkmoor::camera
