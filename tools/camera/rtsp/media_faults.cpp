#include "camera/rtsp/media_faults.h"

#include <algorithm>
#include <array>
#include <utility>

namespace larkmoor::camera
{
namespace
{

constexpr std::uint16_t kSequenceLeap = 5000;
constexpr std::uint32_t kForwardLeap = 90'000 * 60; // a minute
constexpr std::uint32_t kBackwardLeap = 90'000 * 30;
constexpr std::uint32_t kFramesBeforeLeaps = 25; // a stream first has to run
constexpr std::size_t kMarkerAt = OutPacket::kFramingBytes + 1;
constexpr std::uint8_t kDeadPayloadType = 96;

// The middle of a fragmented slice: what a session that died in full flight would go on with.
constexpr std::array<std::uint8_t, 40> kDeadSlice = {0x7C, 0x01, 0x9A, 0x5B, 0x11, 0x83};

} // namespace

MediaFaults::MediaFaults(const FaultPlan& plan, std::uint64_t seed)
    : plan_(plan),
      losses_(seed, "rtp-loss"),
      doubles_(seed, "rtp-dup"),
      swaps_(seed, "rtp-reorder"),
      foreigners_(seed, "foreign-ssrc"),
      deadSession_(Dice(seed, "dead session"), kDeadPayloadType)
{
}

template <typename Jump>
void MediaFaults::PlayLeap(Leap& leap, const char* name, Jump jump)
{
    if (std::exchange(leap.toUndo, false))
        jump(false);
    if (!plan_.Active(name))
    {
        leap.played = false;
        return;
    }
    if (leap.played || frames_ <= kFramesBeforeLeaps)
        return;
    leap.played = true;
    leap.toUndo = plan_.Active(name, "once");
    jump(true);
}

void MediaFaults::BeforeFrame(RtpStream& stream)
{
    ++frames_;
    PlayLeap(sequenceLeap_, "seq-jump",
             [&](bool forth)
             { stream.JumpSequence(forth ? kSequenceLeap : static_cast<std::uint16_t>(0 - kSequenceLeap)); });
    PlayLeap(forwardLeap_, "ts-jump",
             [&](bool forth) { stream.JumpTimestamp(forth ? kForwardLeap : 0 - kForwardLeap); });
    PlayLeap(backwardLeap_, "ts-back",
             [&](bool forth) { stream.JumpTimestamp(forth ? 0 - kBackwardLeap : kBackwardLeap); });
}

PacketFates MediaFaults::Play(PacketBatch& batch)
{
    PacketFates fates;
    if (plan_.Active("no-marker"))
    {
        for (OutPacket& packet : batch.packets)
            packet.head[kMarkerAt] &= static_cast<std::uint8_t>(~RtpStream::kMarkerBit);
        fates.intact = false; // no receiver can tell where the frame ends
    }
    const double lossRatio = plan_.Number("rtp-loss", 0);
    const double doubleRatio = plan_.Number("rtp-dup", 0);
    const double swapRatio = plan_.Number("rtp-reorder", 0);
    if (lossRatio > 0 || doubleRatio > 0)
    {
        std::vector<OutPacket> sent;
        fates.lost.assign(batch.packets.size(), false);
        for (std::size_t i = 0; i < batch.packets.size(); ++i)
        {
            if (losses_.Roll(lossRatio))
            {
                fates.lost[i] = true;
                fates.intact = false;
                continue;
            }
            sent.push_back(batch.packets[i]);
            if (!doubles_.Roll(doubleRatio))
                continue;
            sent.push_back(batch.packets[i]);
            if (i + 1 < batch.packets.size())
                fates.intact = false; // behind the last packet the frame is complete already
        }
        batch.packets = std::move(sent);
    }
    if (swapRatio > 0 || late_)
        Swap(batch, swapRatio, fates);
    if (plan_.Active("foreign-ssrc"))
        AddForeign(batch, plan_.Number("foreign-ssrc", 0.02));
    return fates;
}

void MediaFaults::Swap(PacketBatch& batch, double ratio, PacketFates& fates)
{
    std::vector<OutPacket> sent;
    std::optional<OutPacket> late = std::exchange(late_, std::nullopt);
    if (late)
    {
        fates.intact = fates.intact && batch.packets.size() <= 1;
        batch.owners.insert(batch.owners.end(), lateOwners_.begin(), lateOwners_.end());
        lateOwners_.clear();
    }
    for (const OutPacket& packet : batch.packets)
    {
        if (!late && swaps_.Roll(ratio))
        {
            late = packet;
            fates.intact = false;
            continue;
        }
        sent.push_back(packet);
        if (late)
            sent.push_back(*std::exchange(late, std::nullopt));
    }
    if (late)
    {
        late_ = late;
        lateOwners_ = batch.owners;
    }
    batch.packets = std::move(sent);
}

void MediaFaults::AddForeign(PacketBatch& batch, double ratio)
{
    // Between frames, as two senders on one port come out: a frame's own packets leave in one go.
    const auto count = static_cast<std::size_t>(std::count_if(
        batch.packets.begin(), batch.packets.end(), [&](const auto&) { return foreigners_.Roll(ratio); }));
    RtpPayload payload;
    payload.shared = kDeadSlice;
    for (std::size_t i = 0; i < count; ++i)
        batch.packets.push_back(deadSession_.Make(payload, deadSession_.FirstTimestamp()));
}

} // namespace larkmoor::camera
