#pragma once

#include "camera/rtsp/rtp_packet_batch.h"

namespace larkmoor::camera
{

/// Where the packets of one RTP stream go: two UDP ports, or two channels of a connection.
class PacketOutput
{
public:
    virtual ~PacketOutput() = default;

    /// Takes the packets of one frame, or some control packets, whole. They leave in order.
    virtual void Send(PacketBatch batch) = 0;

    /// Takes control packets that are to come from an address which is not the camera's, where there is one.
    virtual void SendStray(const PacketBatch&) {}

    /// True while so much waits that the next frames are better left out.
    virtual bool IsFull() const = 0;

    /// True while little waits: a stream without a clock may go on.
    virtual bool IsHungry() const = 0;
};

} // namespace larkmoor::camera
