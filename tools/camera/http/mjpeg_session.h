#pragma once

#include "camera/device/profile.h"
#include "camera/http/connection.h"
#include "camera/http/multipart.h"
#include "camera/log/camera_log.h"
#include "camera/media/encoded_frame.h"
#include "camera/media/stream_hub.h"

#include <chrono>
#include <deque>
#include <map>
#include <memory>
#include <utility>

namespace larkmoor::camera
{

/// Tells the truth log of the pictures that go out over HTTP: once for each picture of a stream, however many
/// clients get it, unless each of them gets other bytes. On the thread of the io_context.
class PictureTruth
{
public:
    using Time = std::chrono::system_clock::time_point;

    explicit PictureTruth(TruthLog& log) : log_(log) {}

    /// `part`, with a picture that was taken at `captured`, is going out whole.
    void Tell(StreamId id, Time captured, const MultipartPart& part);

private:
    // The time tells two frames apart that stood at one address one after the other.
    using Picture = std::pair<const EncodedFrame*, Time>;

    bool IsNew(StreamId id, const Picture& picture);

    TruthLog& log_;
    std::map<StreamId, std::deque<Picture>> told_; // the latest ones
};

/// Sends the pictures of one stream to one client. While a picture is on its way to the client, the pictures
/// that come are left out. On the thread of the io_context.
class MjpegSession : public FrameSubscriber
{
public:
    /// `connection` owns the session. All others outlive it.
    MjpegSession(Connection& connection, std::shared_ptr<VideoStream> stream, bool pulls, FaultPlan& faults,
                 PictureTruth& truth, std::uint64_t seed, bool stamps);
    ~MjpegSession() override;

    MjpegSession(const MjpegSession&) = delete;
    MjpegSession& operator=(const MjpegSession&) = delete;

    void Start();
    void OnFrame(const MediaFrame& frame) override;

private:
    void OnSent();

    Connection& connection_;
    const std::shared_ptr<VideoStream> stream_;
    const bool pulls_; // the source gives a picture when it is asked for one
    FaultPlan& faults_;
    PictureTruth& truth_;
    MultipartWriter writer_;
    std::string head_;
    MultipartPart part_; // on its way
    bool sending_ = false;
    bool subscribed_ = false;
};

} // namespace larkmoor::camera
