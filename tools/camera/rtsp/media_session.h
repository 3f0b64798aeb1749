#pragma once

#include "camera/rtsp/cut_picture.h"
#include "camera/rtsp/rtp_session.h"

#include <boost/asio/io_context.hpp>

#include <memory>
#include <string>

namespace larkmoor::camera
{

/// One video stream on its way to one client or group; it starts with a key frame. On the io_context's
/// thread.
class MediaSession : public FrameSubscriber,
                     public RtpSession,
                     public std::enable_shared_from_this<MediaSession>
{
public:
    struct Setup
    {
        boost::asio::io_context& context;
        std::shared_ptr<VideoStream> stream;
        std::unique_ptr<PacketOutput> output;
        ParameterSets described; ///< that the description told the client
        std::uint64_t seed = 0;
    };

    /// 26 for JPEG (RFC 3551, table 5), else a dynamic one.
    static std::uint8_t PayloadTypeOf(VideoCodec codec)
    {
        return codec == VideoCodec::MotionJpeg ? std::uint8_t{26} : std::uint8_t{96};
    }

    /// The references outlive the session.
    MediaSession(const RtspOptions& options, const RtspServices& services, Setup setup);
    ~MediaSession() override { Vanish(); }

    void OnHungry() override { Pump(); }
    void OnFrame(const MediaFrame& frame) override;

private:
    void Subscribe() override;
    void Unsubscribe() override { stream_->Unsubscribe(*this); }
    void PlayTimedFaults() override;
    bool Admits(const MediaFrame& frame);
    PacketBatch MakeH264(const MediaFrame& frame, std::uint32_t timestamp);
    PacketBatch MakeMpeg4(const MediaFrame& frame, std::uint32_t timestamp);
    PacketBatch MakeJpeg(const MediaFrame& frame, std::uint32_t timestamp);
    JpegShape ShapeOfJpeg() const;
    template <typename WorkOut>
    void TellTruth(const char* kind, std::uint32_t timestamp, const WorkOut& workOut);
    H264Shape Shape() const;
    std::string NextStamp();
    void PlayBye();
    void Pump();

    boost::asio::io_context& context_;
    const std::shared_ptr<VideoStream> stream_;
    const ParameterSets described_;
    const VideoCodec codec_; // that the description told
    bool byePlayed_ = false; // in the present window of the fault
    bool waitingForKey_ = true;
    std::uint32_t stamps_ = 0;
};

} // namespace larkmoor::camera
