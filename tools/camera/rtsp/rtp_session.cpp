#include "camera/rtsp/rtp_session.h"

#include <utility>

namespace larkmoor::camera
{
namespace
{

PacketBatch ControlBatch(Bytes packet)
{
    auto kept = std::make_shared<const Bytes>(std::move(packet));
    OutPacket out;
    out.control = true;
    out.shared = *kept;
    PacketBatch batch;
    batch.packets.push_back(out);
    batch.owners.push_back(std::move(kept));
    return batch;
}

} // namespace

RtpSession::RtpSession(const RtspOptions& options, const RtspServices& services,
                       std::unique_ptr<PacketOutput> output, std::uint64_t seed, std::uint8_t payloadType,
                       std::uint32_t clockRate)
    : options_(options),
      services_(services),
      output_(std::move(output)),
      rtp_(Dice(seed, "rtp"), payloadType),
      faults_(services.faults, seed),
      clockRate_(clockRate)
{
}

void RtpSession::Play(std::function<void()> onFirstFrame)
{
    if (playing_ || gone_)
        return;
    playing_ = true;
    onFirstFrame_ = std::move(onFirstFrame);
    Subscribe();
}

void RtpSession::Stop()
{
    if (frames_ > 0 && !gone_ && !muted_ && !faults_.Frozen())
        SendBye();
    Vanish();
}

void RtpSession::Vanish()
{
    gone_ = true;
    if (std::exchange(playing_, false))
        Unsubscribe();
}

bool RtpSession::Admits(bool isAsDescribed)
{
    if (!isAsDescribed && !std::exchange(muted_, true) && frames_ > 0)
        SendBye();
    return !muted_ && !faults_.Frozen() && !output_->IsFull();
}

PacketBatch RtpSession::Packets(const std::vector<RtpPayload>& payloads,
                                std::vector<std::shared_ptr<const void>> owners, std::uint32_t timestamp)
{
    PacketBatch batch;
    batch.owners = std::move(owners);
    batch.packets.reserve(payloads.size() + 1);
    for (const RtpPayload& payload : payloads)
        batch.packets.push_back(rtp_.Make(payload, timestamp));
    return batch;
}

void RtpSession::Send(PacketBatch batch, std::uint32_t timestamp,
                      std::chrono::system_clock::time_point captured)
{
    lastTimestamp_ = timestamp;
    lastCaptured_ = captured;
    output_->Send(std::move(batch));
    if (++frames_ == 1)
        Tick();
    if (auto tell = std::exchange(onFirstFrame_, nullptr))
        tell();
}

std::uint32_t RtpSession::TimestampNow() const
{
    const auto since = std::chrono::duration_cast<std::chrono::microseconds>(
        std::chrono::system_clock::now() - lastCaptured_);
    return lastTimestamp_ + static_cast<std::uint32_t>(since.count() * clockRate_ / 1'000'000);
}

PacketBatch RtpSession::Report() const
{
    return ControlBatch(rtp_.SenderReport(std::chrono::system_clock::now(), TimestampNow()));
}

void RtpSession::SendBye()
{
    output_->Send(ControlBatch(rtp_.Bye(std::chrono::system_clock::now(), TimestampNow())));
}

void RtpSession::Tick()
{
    if (!playing_ || frames_ == 0 || muted_ || faults_.Frozen())
        return;
    if (const auto now = std::chrono::steady_clock::now(); now >= nextReport_)
    {
        nextReport_ = now + options_.reportInterval;
        output_->Send(Report());
    }
    PlayTimedFaults();
}

} // namespace larkmoor::camera
