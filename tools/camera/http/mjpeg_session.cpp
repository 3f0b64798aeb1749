#include "camera/http/mjpeg_session.h"

#include <chrono>

namespace larkmoor::camera
{

namespace
{

constexpr std::chrono::milliseconds kFreezeLook(50);

} // namespace

MjpegSession::MjpegSession(Connection& connection, std::shared_ptr<VideoStream> stream, bool pulls,
                           FaultPlan& faults, PictureTruth& truth, std::uint64_t seed, bool stamps)
    : connection_(connection),
      stream_(std::move(stream)),
      pulls_(pulls),
      faults_(faults),
      truth_(truth),
      writer_(faults, seed, stamps)
{
}

MjpegSession::~MjpegSession()
{
    if (subscribed_)
        stream_->Unsubscribe(*this);
}

void MjpegSession::Start()
{
    head_ = writer_.Head();
    connection_.Send({AsBytes(head_)}, {},
                     [this]
                     {
                         subscribed_ = true;
                         stream_->Subscribe(*this);
                         OnSent();
                     });
}

void MjpegSession::OnFrame(const MediaFrame& frame)
{
    if (sending_ || faults_.Active("freeze"))
        return;
    sending_ = true;
    // Another codec now: there is nothing more to send here.
    if (frame.encoded->codec != VideoCodec::MotionJpeg)
        return connection_.After(std::chrono::milliseconds(0),
                                 [&connection = connection_] { connection.Close(); });
    part_ = writer_.Next(frame);
    connection_.Send(
        part_.Pieces(), [this, captured = frame.captured] { truth_.Tell(stream_->Id(), captured, part_); },
        [this]
        {
            sending_ = false;
            OnSent();
        });
}

void MjpegSession::OnSent()
{
    if (!pulls_)
        return;
    if (faults_.Active("freeze"))
        return connection_.After(kFreezeLook, [this] { OnSent(); });
    stream_->Pull(*this);
}

} // namespace larkmoor::camera
