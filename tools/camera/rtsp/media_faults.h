#pragma once

#include "camera/fault/dice.h"
#include "camera/fault/fault_plan.h"
#include "camera/rtsp/rtp_packet_batch.h"
#include "camera/rtsp/rtp_stream.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace larkmoor::camera
{

/// What became of the packets of one access unit.
struct PacketFates
{
    bool intact = true;     ///< all were sent, once and in order, with nothing between them
    std::vector<bool> lost; ///< by packet; empty if none was
};

/// Plays the faults of RTP streams to one of them: what happens to clocks and numbers before packets are
/// made, and to packets before they are sent. The same seed gives the same fates.
class MediaFaults
{
public:
    MediaFaults(const FaultPlan& plan, std::uint64_t seed);

    /// seq-jump, ts-jump, ts-back: on the way to the next frame.
    void BeforeFrame(RtpStream& stream);

    /// no-marker, rtp-loss, rtp-dup, rtp-reorder, foreign-ssrc on the packets of one frame.
    PacketFates Play(PacketBatch& batch);

    /// freeze: no media, no reports.
    bool Frozen() const { return plan_.Active("freeze"); }

private:
    /// A leap that lasts for one frame or for good, played once in each window of its fault.
    struct Leap
    {
        bool played = false;
        bool toUndo = false;
    };

    template <typename Jump>
    void PlayLeap(Leap& leap, const char* name, Jump jump);
    void Swap(PacketBatch& batch, double ratio, PacketFates& fates);
    void AddForeign(PacketBatch& batch, double ratio);

    const FaultPlan& plan_;
    Dice losses_;
    Dice doubles_;
    Dice swaps_;
    Dice foreigners_;
    std::uint32_t frames_ = 0;
    Leap sequenceLeap_;
    Leap forwardLeap_;
    Leap backwardLeap_;
    std::optional<OutPacket> late_; // comes behind the next frame's first packet
    std::vector<std::shared_ptr<const void>> lateOwners_;
    RtpStream deadSession_;
};

} // namespace larkmoor::camera
