#include "camera/rtsp/media_session.h"

#include "base/annexb.h"
#include "base/frame_stamp.h"
#include "base/md5.h"
#include "camera/rtsp/h264_access_unit.h"

#include <boost/asio/post.hpp>

#include <utility>

namespace larkmoor::camera
{
namespace
{

constexpr std::uint32_t kVideoClockRate = 90'000;
constexpr std::uint64_t kFramesBeforeBye = 10;
constexpr int kFloodReportsPerTick = 20;
constexpr int kFramesPerPump = 32;

/// For comparing what a receiver made of a damaged stream with what was sent: type (nal_unit_type), size and
/// md5 of each unit without start code, and whether no packet of it was lost.
nlohmann::ordered_json UnitsOf(const H264AccessUnit& unit, const PacketFates& fates)
{
    nlohmann::ordered_json units = nlohmann::ordered_json::array();
    for (const SentUnit& each : unit.Units())
    {
        bool whole = true;
        for (std::size_t packet = each.firstPacket; packet <= each.lastPacket && !fates.lost.empty();
             ++packet)
            whole = whole && !fates.lost[packet];
        units.push_back({{"type", static_cast<int>(NalTypeOf(each.bytes[0]))},
                         {"size", each.bytes.size()},
                         {"md5", Md5Hex(each.bytes)},
                         {"whole", whole}});
    }
    return units;
}

} // namespace

MediaSession::MediaSession(const RtspOptions& options, const RtspServices& services, Setup setup)
    : RtpSession(options, services, std::move(setup.output), setup.seed,
                 PayloadTypeOf(setup.stream->Settings().codec), kVideoClockRate),
      context_(setup.context),
      stream_(std::move(setup.stream)),
      described_(std::move(setup.described)),
      codec_(stream_->Settings().codec)
{
}

void MediaSession::Subscribe()
{
    stream_->Subscribe(*this);
    Pump();
}

void MediaSession::OnFrame(const MediaFrame& frame)
{
    if (!Admits(frame))
        return;
    faults_.BeforeFrame(rtp_);
    const std::uint32_t timestamp = rtp_.TimestampOf(frame.mediaTime);
    PacketBatch batch = codec_ == VideoCodec::H264    ? MakeH264(frame, timestamp)
                        : codec_ == VideoCodec::Mpeg4 ? MakeMpeg4(frame, timestamp)
                                                      : MakeJpeg(frame, timestamp);
    Send(std::move(batch), timestamp, frame.captured);
}

/// False for frames that are left out: then all are, up to the next key frame.
bool MediaSession::Admits(const MediaFrame& frame)
{
    if (!RtpSession::Admits(frame.encoded->codec == codec_))
    {
        waitingForKey_ = true;
        return false;
    }
    if (waitingForKey_ && !frame.encoded->key)
    {
        if (frames_ > 0)
        {
            stream_->RequestKey();
        }
        return false;
    }
    waitingForKey_ = false;
    return true;
}

H264Shape MediaSession::Shape() const
{
    H264Shape shape;
    shape.payloadBytes = options_.packetBytes - OutPacket::kRtpHeaderBytes;
    shape.setsInBand = !services_.faults.Active("sprop-only");
    shape.aggregate = options_.aggregate;
    shape.delimiters = options_.delimiters;
    shape.infoUnits = options_.infoUnits;
    return shape;
}

std::string MediaSession::NextStamp()
{
    return options_.stamps ? MakeFrameStamp(stamps_++) : std::string();
}

JpegShape MediaSession::ShapeOfJpeg() const
{
    const FaultPlan& faults = services_.faults;
    JpegShape shape;
    shape.payloadBytes = options_.packetBytes - OutPacket::kRtpHeaderBytes;
    shape.q127 = faults.Active("jpeg-rtp-odd", "q127");
    shape.noTables = faults.Active("jpeg-rtp-odd", "no-tables");
    shape.emptyRestart = faults.Active("jpeg-rtp-odd", "restart");
    shape.noSize = faults.Active("jpeg-rtp-odd", "no-size");
    shape.tablesInBand = stream_->Settings().jpegTables && !shape.q127 && !shape.noTables;
    return shape;
}

PacketBatch MediaSession::MakeH264(const MediaFrame& frame, std::uint32_t timestamp)
{
    const H264AccessUnit unit(frame.encoded, Shape(), NextStamp());
    PacketBatch batch = Packets(unit.Payloads(), unit.Owners(), timestamp);
    const PacketFates fates = faults_.Play(batch);
    if (services_.units.IsOpen())
        services_.units.Write({{"stream", stream_->Id().Text()},
                               {"rtp", timestamp},
                               {"intact", fates.intact},
                               {"units", UnitsOf(unit, fates)}});
    if (fates.intact)
        TellTruth("h264", timestamp, [&] { return WorkOutFrame(unit.Units(), described_); });
    return batch;
}

PacketBatch MediaSession::MakeMpeg4(const MediaFrame& frame, std::uint32_t timestamp)
{
    CutPicture cut = CutMpeg4(frame.encoded, options_.packetBytes - OutPacket::kRtpHeaderBytes);
    PacketBatch batch = Packets(cut.payloads, std::move(cut.owners), timestamp);
    if (faults_.Play(batch).intact)
        TellTruth("mpeg4", timestamp, [&] { return std::optional(ExpectMpeg4(*frame.encoded)); });
    return batch;
}

PacketBatch MediaSession::MakeJpeg(const MediaFrame& frame, std::uint32_t timestamp)
{
    const JpegShape shape = ShapeOfJpeg();
    CutPicture cut = CutJpeg(frame.encoded, shape);
    PacketBatch batch = Packets(cut.payloads, std::move(cut.owners), timestamp);
    if (faults_.Play(batch).intact)
        TellTruth("jpeg", timestamp, [&] { return ExpectJpeg(*frame.encoded, shape); });
    return batch;
}

template <typename WorkOut>
void MediaSession::TellTruth(const char* kind, std::uint32_t timestamp, const WorkOut& workOut)
{
    if (!services_.truth.Wanted())
        return;
    if (const std::optional<ExpectedFrame> expected = workOut())
        services_.truth.Record(stream_->Id().Text(), kind, expected->key, expected->bytes, timestamp);
}

void MediaSession::PlayTimedFaults()
{
    for (int i = 0; i < kFloodReportsPerTick && services_.faults.Active("rtcp-flood"); ++i)
    {
        PacketBatch report = Report();
        output_->SendStray(report);
        output_->Send(std::move(report));
    }
    PlayBye();
}

/// bye: one in each window of the fault.
void MediaSession::PlayBye()
{
    if (!services_.faults.Active("bye"))
    {
        byePlayed_ = false;
        return;
    }
    if (byePlayed_ || frames_ < kFramesBeforeBye)
        return;
    byePlayed_ = true;
    muted_ = services_.faults.Active("bye", "media-stop");
    SendBye();
}

/// For streams without a clock: gives the output work until it has enough, a bit at a time.
void MediaSession::Pump()
{
    if (services_.hub.Source() != VideoSource::Flood)
        return;
    for (int i = 0; i < kFramesPerPump && playing_ && output_->IsHungry(); ++i)
        stream_->Pull(*this);
    if (!playing_ || !output_->IsHungry())
        return;
    boost::asio::post(context_,
                      [weak = weak_from_this()]
                      {
                          if (const auto self = weak.lock())
                              self->Pump();
                      });
}

} // namespace larkmoor::camera
