#pragma once

#include <larkmoor/host_frame.h>

namespace korvane
{
namespace ipcapture
{

/// Receives the pictures of one video channel. Implemented and owned by the host, valid from `StartChannel`
/// until the matching `StopChannel` (or `Close`) returns. The driver treats an exception from `DeliverFrame`
/// as a refusal and ignores one from `SignalLost`.
class IHostChannelClient
{
public:
    virtual ~IHostChannelClient() = default;

    /// Returns true if the host accepted the frame. Called on the thread that assembled the frame; other
    /// channels deliver on their threads at the same time. The driver releases the frame as soon as the call
    /// returns: a host that keeps it takes its own reference or a copy.
    virtual bool DeliverFrame(IHostFrame* frame) = 0;

    virtual void ReservedSlot1() = 0; ///< never called by the driver

    /// The host has accepted no frame of an RTSP stream for twice the signal-loss time-out, 20 s: none came,
    /// or it refused them all. Called on the channel's thread, again after each further attempt. The next
    /// delivered frame means that the signal is back. Motion JPEG over HTTP never calls it.
    virtual void SignalLost() = 0;
};

} // namespace ipcapture
} // namespace korvane
