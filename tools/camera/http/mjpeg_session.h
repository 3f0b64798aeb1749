#pragma once

#include "camera/http/connection.h"
#include "camera/http/multipart.h"
#include "camera/http/picture_truth.h"
#include "camera/media/stream_hub.h"

#include <memory>

namespace larkmoor::camera
{

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
