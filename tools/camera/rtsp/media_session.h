#pragma once

#include "camera/rtsp/cut_picture.h"
#include "camera/rtsp/media_faults.h"
#include "camera/rtsp/packet_output.h"
#include "camera/rtsp/rtp_session.h"
#include "camera/rtsp/rtp_stream.h"
#include "camera/rtsp/rtsp_services.h"

#include <boost/asio/io_context.hpp>

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace larkmoor::camera
{

/// One video stream on its way to one client or group: takes the hub's frames, makes packets of them, plays
/// the faults and tells the truth. On the io_context's thread.
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
    MediaSession(const RtspOptions& options, const RtspServices& services, SendCounters& counters,
                 Setup setup);
    ~MediaSession() override;

    void Play(std::function<void()> onFirstFrame = nullptr) override; ///< starts with the next key frame
    void Stop() override;
    void Vanish() override;
    void Tick() override;
    void OnHungry() override;
    std::uint16_t FirstSequence() const override { return rtp_.NextSequence(); }
    std::uint32_t FirstTimestamp() const override { return rtp_.FirstTimestamp(); }
    std::uint32_t Ssrc() const override { return rtp_.Ssrc(); }

    void OnFrame(const MediaFrame& frame) override;

private:
    using Clock = std::chrono::steady_clock;

    bool Admits(const MediaFrame& frame);
    void SendFrame(const MediaFrame& frame);
    PacketBatch Packets(const std::vector<RtpPayload>& payloads,
                        std::vector<std::shared_ptr<const void>> owners, std::uint32_t timestamp);
    PacketBatch MakeH264(const MediaFrame& frame, std::uint32_t timestamp);
    PacketBatch MakeMpeg4(const MediaFrame& frame, std::uint32_t timestamp);
    PacketBatch MakeJpeg(const MediaFrame& frame, std::uint32_t timestamp);
    JpegShape ShapeOfJpeg() const;
    template <typename WorkOut>
    void TellTruth(const char* kind, std::uint32_t timestamp, const WorkOut& workOut);
    H264Shape Shape() const;
    std::string NextStamp();
    void PlayBye();
    void SendControl(Bytes packet);
    std::uint32_t TimestampNow() const;
    void Pump();

    const RtspOptions& options_;
    const RtspServices& services_;
    SendCounters& counters_;
    boost::asio::io_context& context_;
    const std::shared_ptr<VideoStream> stream_;
    const std::unique_ptr<PacketOutput> output_;
    const ParameterSets described_;
    const VideoCodec codec_; // that the description told
    RtpStream rtp_;
    MediaFaults faults_;
    std::function<void()> onFirstFrame_;
    bool playing_ = false;
    bool gone_ = false;
    bool muted_ = false;     // by a BYE that ends the media
    bool byePlayed_ = false; // in the present window of the fault
    bool waitingForKey_ = true;
    std::uint32_t stamps_ = 0;
    std::uint64_t frames_ = 0;
    std::uint32_t lastTimestamp_ = 0;
    std::chrono::system_clock::time_point lastCaptured_;
    Clock::time_point nextReport_;
};

} // namespace larkmoor::camera
