#pragma once

#include <cstdint>
#include <string>

namespace korvane
{

/// Message levels.
inline constexpr std::int32_t kLevelError = 1;       ///< an operation failed
inline constexpr std::int32_t kLevelWarning = 2;     ///< something is wrong, and work goes on
inline constexpr std::int32_t kLevelInformation = 3; ///< a change of state
inline constexpr std::int32_t kLevelDebugTrace = 4;  ///< to the debug channel only, never to the host
inline constexpr std::int32_t kLevelExtended = 100;  ///< extended information, for hosts that know the level

/// The one way to write a message. Whoever holds one doesn't own it, and it outlives the holder.
class IDebugMessage
{
public:
    virtual ~IDebugMessage() = default;

    /// Names the device in messages, as "address:port". Any thread.
    virtual std::string GetDeviceName() const = 0;

    /// Writes one message; `format` and what follows are those of printf. Any thread, several at once; takes
    /// no lock and never throws. The message's first words name the function that it comes from.
    [[gnu::format(printf, 3, 4)]] virtual void DebugMessage(std::int32_t level, const char* format, ...) = 0;
};

} // namespace korvane
