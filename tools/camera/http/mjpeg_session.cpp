#include "camera/http/mjpeg_session.h"

#include <algorithm>
#include <chrono>

namespace larkmoor::camera
{

namespace
{

/// Slow clients may send a picture some seconds later than others do.
constexpr std::size_t kRemembered = 256;

constexpr std::chrono::milliseconds kFreezeLook(50);

} // namespace

bool PictureTruth::IsNew(StreamId id, const Picture& picture)
{
    std::deque<Picture>& told = told_[id];
    if (std::find(told.begin(), told.end(), picture) != told.end())
        return false;
    told.push_back(picture);
    if (told.size() > kRemembered)
        told.pop_front();
    return true;
}

void PictureTruth::Tell(StreamId id, Time captured, const MultipartPart& part)
{
    if (!log_.Wanted() || !part.isWhole)
        return;
    if (part.altered.empty() && !IsNew(id, {part.frame.get(), captured}))
        return;
    log_.Record(id.Text(), "jpeg", true, part.picture, std::nullopt);
    // A receiver that cuts at picture markers, and not by length, gets this one instead.
    if (!part.thumbnail.empty())
        log_.Record(id.Text(), "jpeg-thumbnail", true, part.thumbnail, std::nullopt);
}

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
