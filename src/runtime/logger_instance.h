#pragma once

#include "runtime/debug_message.h"
#include "runtime/recursive_lock.h"

#include <cstdint>
#include <string>

namespace korvane
{

/// Thins out messages that would otherwise come at frame rate: a repeated text is dropped, and of differing
/// texts the first 14 pass, then every 16th, every 256th and every 4096th. Any thread.
class CLoggerInstance
{
public:
    explicit CLoggerInstance(IDebugMessage* sink); ///< not owned; outlives the object
    virtual ~CLoggerInstance() = default;

    /// As `IDebugMessage::DebugMessage`, if the text is let through. No lock is held while the sink is
    /// called. Never throws.
    [[gnu::format(printf, 3, 4)]] void Message(std::int32_t level, const char* format, ...);

    /// Forgets what was written: the next failure is told in full again.
    void Reset();

private:
    bool Passes(const std::string& text);
    bool PassesBackOff();

    IDebugMessage* const sink_;
    CRecursiveLock lock_; // guards the two below, for the decision alone
    std::uint32_t counter_ = 0;
    std::string lastText_;
};

} // namespace korvane
