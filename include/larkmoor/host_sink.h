#pragma once

#include <larkmoor/debug_info.h>

namespace korvane::ipcapture
{

/// Takes the driver's messages; implemented and owned by the host, valid from `Open` until `Close` returns.
class IHostSink
{
public:
    virtual ~IHostSink() = default;

    /// Any thread of the driver, several at once. `message` is valid during the call only.
    virtual void WriteMessage(CDebugInfoIf* message) = 0;
};

} // namespace korvane::ipcapture
