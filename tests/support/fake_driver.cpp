#include "support/fake_driver.h"

#include "runtime/text.h"

#include <cstdarg>
#include <cstdio>

namespace korvane::test
{

std::vector<std::string> FakeDriver::Texts(std::uint32_t level) const
{
    std::vector<std::string> texts;
    for (const MessageRecord& message : Messages())
    {
        if (message.level == level)
            texts.push_back(message.text);
    }
    return texts;
}

void FakeDriver::DebugMessage(std::int32_t level, const char* format, ...)
{
    if (level != kLevelDebugTrace)
        Called();
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    messages_.Add({static_cast<std::uint32_t>(level), text});
}

std::string FakeDriver::GetPropertyText(std::uint32_t number) const
{
    const auto found = properties.find(number);
    return found == properties.end() || found->second == "(none)" ? std::string() : found->second;
}

std::int32_t FakeDriver::GetPropertyInt(std::uint32_t number) const
{
    std::int32_t value = 0;
    return Utils::IsInteger(GetPropertyText(number), value) ? value : kNoProperty;
}

} // namespace korvane::test
