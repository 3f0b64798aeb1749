#pragma once

#include "platform/host_process.h"
#include "runtime/debug_message.h"

#include <larkmoor/debug_info.h>

#include <cstdint>
#include <string>

namespace korvane
{

/// One message on its way to the host: lives on the writing thread's stack for the length of the host's call.
class CDebugInfo final : public ipcapture::CDebugInfoIf
{
public:
    /// Copies `text`, which may be null.
    CDebugInfo(std::uint8_t level, const char* text) : level_(level), text_(text == nullptr ? "" : text) {}

    std::uint8_t GetLevel() override { return level_; }

    /// Null when the text given was null or empty.
    const char* GetMessage() override { return text_.empty() ? nullptr : text_.c_str(); }

private:
    const std::uint8_t level_;
    const std::string text_;
};

/// The level under which a message of `level` is told to a host whose core library has `version`. Older hosts
/// don't know the higher levels: before 5.12 nothing stands above warnings, before 6.3 nothing above
/// information.
inline std::uint8_t HostMessageLevel(std::int32_t level, const platform::ProductVersion& version)
{
    if (level == kLevelExtended && version < platform::ProductVersion{6, 3, 0, 0})
        level = kLevelInformation;
    if (level == kLevelInformation && version < platform::ProductVersion{5, 12, 0, 0})
        level = kLevelWarning;
    return static_cast<std::uint8_t>(level);
}

} // namespace korvane
