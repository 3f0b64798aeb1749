#pragma once

#include <cstdint>

namespace korvane
{
namespace ipcapture
{

/// One message of the driver to the host. The driver owns the object and its text; both are valid only during
/// the call that passes them. Copy what you keep.
class CDebugInfoIf
{
public:
    virtual ~CDebugInfoIf() = default;

    /// 1 error, 2 warning, 3 information, 100 extended information. An older host gets lower levels instead,
    /// see docs/host-guide.md. Level 4 never reaches the host.
    virtual std::uint8_t GetLevel() = 0;

    /// English, zero-ended, without a line end; null if the message has no text.
    virtual const char* GetMessage() = 0;
};

} // namespace ipcapture
} // namespace korvane
