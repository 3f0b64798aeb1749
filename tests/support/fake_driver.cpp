#include "support/fake_driver.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace korvane::test
{

std::vector<MessageRecord> FakeDriver::Messages() const
{
    const std::lock_guard lock(mutex_);
    return messages_;
}

std::vector<std::string> FakeDriver::Texts(std::uint32_t level) const
{
    const std::lock_guard lock(mutex_);
    std::vector<std::string> texts;
    for (const MessageRecord& message : messages_)
    {
        if (message.level == level)
            texts.push_back(message.text);
    }
    return texts;
}

bool FakeDriver::WaitForMessage(const std::string& part)
{
    const auto holds = [&]
    {
        for (const MessageRecord& message : messages_)
        {
            if (message.text.find(part) != std::string::npos)
                return true;
        }
        return false;
    };
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, kPatience, holds);
}

std::string FakeDriver::GetDeviceName() const
{
    return device.address + ":" + std::to_string(device.port);
}

void FakeDriver::DebugMessage(std::int32_t level, const char* format, ...)
{
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    const std::lock_guard lock(mutex_);
    messages_.push_back({static_cast<std::uint32_t>(level), text});
    changed_.notify_all();
}

std::string FakeDriver::GetPropertyText(std::uint32_t number) const
{
    const auto found = properties.find(number);
    return found == properties.end() || found->second == "(none)" ? std::string() : found->second;
}

std::int32_t FakeDriver::GetPropertyInt(std::uint32_t number) const
{
    const std::string text = GetPropertyText(number);
    return text.empty() ? kNoProperty : static_cast<std::int32_t>(std::strtol(text.c_str(), nullptr, 10));
}

} // namespace korvane::test
