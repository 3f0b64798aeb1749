#include "runtime/debug_info.h"

#include "runtime/debug_message.h"

namespace korvane
{

CDebugInfo::CDebugInfo(std::uint8_t level, const char* text)
    : level_(level), text_(text == nullptr ? "" : text)
{
}

std::uint8_t HostMessageLevel(std::int32_t level, const platform::ProductVersion& version)
{
    const platform::ProductVersion knowsInformation{5, 12, 0, 0};
    const platform::ProductVersion knowsExtended{6, 3, 0, 0};
    if (version < knowsInformation && (level == kLevelInformation || level == kLevelExtended))
        return kLevelWarning;
    if (version < knowsExtended && level == kLevelExtended)
        return kLevelInformation;
    return static_cast<std::uint8_t>(level);
}

} // namespace korvane
