#include "discovery/audio_capabilities.h"

#include <charconv>
#include <string_view>
#include <system_error>

namespace korvane
{

namespace
{

bool IsSpace(char character)
{
    return character == ' ' || (character >= '\t' && character <= '\r');
}

void SkipSpace(std::string_view& text)
{
    while (!text.empty() && IsSpace(text.front()))
        text.remove_prefix(1);
}

bool SkipWord(std::string_view& text, std::string_view word)
{
    if (!text.starts_with(word))
        return false;
    text.remove_prefix(word.size());
    return true;
}

bool TakeNumber(std::string_view& text, std::uint32_t& number)
{
    SkipSpace(text);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc())
        return false;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return true;
}

} // namespace

bool CAudioCapabilities::Parse(const char* text)
{
    count = 0;
    stereo = false;
    if (text == nullptr)
        return false;

    std::string_view rest = text;
    std::uint32_t channels = 0;
    std::uint32_t stereoNumber = 0;
    if (!SkipWord(rest, "Count=") || !TakeNumber(rest, channels) || !SkipWord(rest, ";"))
        return false;
    SkipSpace(rest);
    if (!SkipWord(rest, "IsStereo=") || !TakeNumber(rest, stereoNumber))
        return false;

    count = channels;
    stereo = stereoNumber == 1;
    return true;
}

std::string CAudioCapabilities::Text() const
{
    return "Count=" + std::to_string(count) + "; IsStereo=" + (stereo ? "1" : "0");
}

} // namespace korvane
