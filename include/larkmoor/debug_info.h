#pragma once

#include <cstdint>

namespace korvane::ipcapture
{

/// One message of the driver on its way to the host. The object and its text are the driver's and last
/// only for the call that carries them: a host copies what it keeps.
class CDebugInfoIf
{
public:
    virtual ~CDebugInfoIf() = default;

    /// 1 error, 2 warning, 3 information, 100 extended information; level 4 never reaches the host.
    virtual std::uint8_t GetLevel() = 0;

    /// English text, zero-ended, without a line end; null when the message has no text.
    virtual const char* GetMessage() = 0;
};

} // namespace korvane::ipcapture
