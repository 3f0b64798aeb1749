#pragma once

#include "base/frame_stamp.h"
#include "host/base/delay_histogram.h"
#include "host/base/gap_detector.h"
#include "host/contract/frame_allocator.h"

#include <larkmoor/host_channel_client.h>

#include <cstdint>
#include <mutex>
#include <optional>
#include <vector>

namespace larkmoor::host
{

using namespace korvane::ipcapture;

/// Takes the frames of one stream beyond their delivery.
class IFrameReceiver
{
public:
    virtual ~IFrameReceiver() = default;

    /// Runs on the driver's thread, so it must be quick. False refuses the frame.
    virtual bool TakeFrame(FrameHold frame) = 0;
};

/// What has come of a stream so far. Moments are seconds of `MonotonicSeconds`.
struct StreamCounts
{
    std::uint64_t frames = 0; ///< taken
    std::uint64_t keyFrames = 0;
    std::uint64_t bytes = 0;
    std::uint64_t refused = 0;
    std::uint64_t gaps = 0;           ///< holes, seen by the times of the frames
    std::uint64_t missingByTime = 0;  ///< frames that would fill them
    std::uint64_t stamped = 0;        ///< frames with a stamp
    std::uint64_t missingByStamp = 0; ///< frames that were sent and didn't come
    std::uint64_t timesBack = 0;      ///< frames whose time isn't later than that of the frame before
    double firstFrame = 0;            ///< 0 before it
    double lastFrame = 0;
    double lastKeyFrame = 0;
    double longestPause = 0; ///< seconds between two deliveries
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t format = 0;
    std::vector<double> signalLost; ///< moments, the first hundred
    std::uint64_t signalLostCount = 0;
};

/// The host's end of one stream: counts what comes and passes it on. `DeliverFrame` and `SignalLost` are
/// called by the driver's threads, everything else by the host's.
class StreamClient final : public IHostChannelClient
{
public:
    /// `receiver` and `delays` may be null; all outlive the client.
    StreamClient(FrameAllocator& allocator, FaultList& faults, IFrameReceiver* receiver,
                 DelayHistogram* delays);

    StreamCounts Counts() const;

    /// The rate is about to change: distances between frames have to be learnt anew.
    void ForgetRate();

    bool DeliverFrame(IHostFrame* frame) override;
    void ReservedSlot1() override { faults_.Add("call of a reserved operation of the channel client"); }
    void SignalLost() override;

private:
    void Count(const Frame& frame, double now, const std::optional<FrameStamp>& stamp);
    void CountStamp(const FrameStamp& stamp);

    FrameAllocator& allocator_;
    FaultList& faults_;
    IFrameReceiver* receiver_;
    DelayHistogram* delays_;
    mutable std::mutex lock_; // over all below
    StreamCounts counts_;
    GapDetector gaps_;
    std::int64_t lastTime_ = 0;
    std::optional<std::uint32_t> lastNumber_;
};

} // namespace larkmoor::host
