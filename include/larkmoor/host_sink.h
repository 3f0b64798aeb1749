#pragma once

#include <larkmoor/debug_info.h>

namespace korvane
{
namespace ipcapture
{

/// Receives the driver's messages. Implemented and owned by the host, valid from `Open` until `Close`
/// returns.
class IHostSink
{
public:
    virtual ~IHostSink() = default;

    /// Called on any thread of the driver, and on the host's thread inside a call of the driver; several
    /// calls can run at the same time. `message` is valid during the call only. Start and stop nothing
    /// from here.
    virtual void WriteMessage(CDebugInfoIf* message) = 0;
};

} // namespace ipcapture
} // namespace korvane
