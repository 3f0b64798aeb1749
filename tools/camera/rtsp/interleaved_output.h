#pragma once

#include "camera/fault/fault_plan.h"
#include "camera/rtsp/connection_writer.h"
#include "camera/rtsp/rtp_packet_batch.h"

#include <cstdint>
#include <memory>

namespace larkmoor::camera
{

/// One session's two channels of its RTSP connection, with the faults of what travels between the frames:
/// interleaved-garbage, interleaved-early (frames on channels that nobody asked for) and interleaved-cut.
class InterleavedOutput : public PacketOutput
{
public:
    /// Media go on `rtpChannel`, control packets on the next one. `faults` outlives this object.
    InterleavedOutput(std::shared_ptr<ConnectionWriter> writer, std::uint8_t rtpChannel,
                      const FaultPlan& faults)
        : writer_(std::move(writer)), rtpChannel_(rtpChannel), faults_(faults)
    {
    }

    void Send(PacketBatch batch) override;
    bool IsFull() const override { return writer_->IsFull(); }
    bool IsHungry() const override { return writer_->IsHungry(); }

private:
    const std::shared_ptr<ConnectionWriter> writer_;
    const std::uint8_t rtpChannel_;
    const FaultPlan& faults_;
    std::size_t oddities_ = 0;
};

} // namespace larkmoor::camera
