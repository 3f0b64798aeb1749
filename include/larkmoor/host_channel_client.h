#pragma once

#include <larkmoor/host_frame.h>

namespace korvane::ipcapture
{

/// Takes the pictures of one video channel. Implemented and owned by the host, valid from `StartChannel`
/// until the matching `StopChannel` (or `Close`) returns. An exception that leaves an operation counts as a
/// refusal.
class IHostChannelClient
{
public:
    virtual ~IHostChannelClient() = default;

    /// True if the host took the frame. Runs on the thread that put the frame together, while other channels
    /// deliver on theirs. The driver releases the frame as soon as the call returns: a host that keeps it
    /// takes a hold of its own.
    virtual bool DeliverFrame(IHostFrame* frame) = 0;

    virtual void ReservedSlot1() = 0; ///< never called by the driver

    /// The stream has been silent for twice the signal-loss time-out. Runs on the channel's thread. The next
    /// delivered frame is the sign that the signal is back.
    virtual void SignalLost() = 0;
};

} // namespace korvane::ipcapture
