#include "runtime/logger_instance.h"

#include "runtime/text.h"

#include <cstdarg>

namespace korvane
{

CLoggerInstance::CLoggerInstance(IDebugMessage* sink) : sink_(sink) {}

void CLoggerInstance::Message(std::int32_t level, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    try
    {
        const std::string text = Utils::FormatStringList(format, arguments);
        if (!text.empty() && Passes(text))
            sink_->DebugMessage(level, "%s", text.c_str());
    }
    catch (...) // no memory for the text: a message is never a reason to fail
    {
    }
    va_end(arguments);
}

void CLoggerInstance::Reset()
{
    const CLockGuard guard(lock_);
    lastText_.clear();
    counter_ = 0;
}

bool CLoggerInstance::Passes(const std::string& text)
{
    const CLockGuard guard(lock_);
    if (text == lastText_ || !PassesBackOff())
        return false;
    lastText_ = text;
    return true;
}

bool CLoggerInstance::PassesBackOff()
{
    ++counter_;
    if (counter_ < 15)
        return true;
    if (counter_ < 255)
        return counter_ % 16 == 0;
    if (counter_ < 4095)
        return counter_ % 256 == 0;
    if (counter_ < 65535)
        return counter_ % 4096 == 0;
    counter_ = 4095; // and so on for ever at every 4096th
    return false;
}

} // namespace korvane
