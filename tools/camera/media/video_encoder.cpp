#include "camera/media/video_encoder.h"

#include "base/annexb.h"
#include "base/libav.h"
#include "camera/media/jpeg_encoder.h"

extern "C"
{
#include <libavutil/opt.h>
}

#include <algorithm>
#include <array>
#include <string>

namespace larkmoor::camera
{
namespace
{

constexpr std::uint32_t kSmallestSide = 16;
constexpr std::uint32_t kLargestSide = 4096;
constexpr std::uint32_t kMostFramesPerSecond = 120;
constexpr std::uint32_t kLeastBitrate = 20'000;
constexpr std::uint32_t kMostBitrate = 80'000'000;
constexpr int kFinestH264Quantizer = 10; // below, a picture costs more than any camera would send
constexpr std::array<std::uint8_t, 4> kPictureStart = {0, 0, 1, 0xB6}; // ISO/IEC 14496-2, vop_start_code

std::uint32_t EvenSide(std::uint32_t side)
{
    return std::clamp(side, kSmallestSide, kLargestSide) & ~1u;
}

VideoSettings Normalized(VideoSettings settings)
{
    settings.width = EvenSide(settings.width);
    settings.height = EvenSide(settings.height);
    settings.frameRate = std::clamp(settings.frameRate, 1u, kMostFramesPerSecond);
    settings.bitrate = std::clamp(settings.bitrate, kLeastBitrate, kMostBitrate);
    settings.keyInterval = std::clamp(settings.keyInterval, 1u, 60'000u);
    settings.slices = std::clamp(settings.slices, 1u, 32u);
    settings.jpegRestart = std::min(settings.jpegRestart, 0xFFFFu);
    return settings;
}

/// The buffer of a plane that outlives its frame: nothing to free.
void KeepPlane(void*, std::uint8_t*) {}

/// H.264 and MPEG-4 by libavcodec.
class LibavEncoder : public VideoEncoder
{
public:
    LibavEncoder(const VideoSettings& settings)
        : settings_(Normalized(settings)),
          frame_(av_frame_alloc()),
          packet_(av_packet_alloc()),
          parameters_(std::make_shared<ParameterSets>())
    {
    }

    bool Open();
    std::shared_ptr<const EncodedFrame> Encode(Canvas& picture, bool forceKey) override;
    std::shared_ptr<const ParameterSets> Parameters() const override { return parameters_; }
    const VideoSettings& Settings() const override { return settings_; }

private:
    void SetUpH264();
    void SetUpMpeg4();
    void SetBitrate();
    void ReadExtradata();
    void Borrow(Canvas& picture);
    std::shared_ptr<const EncodedFrame> Received();

    VideoSettings settings_;
    LibavCodecContext context_;
    LibavFrame frame_;
    LibavPacket packet_;
    std::shared_ptr<const ParameterSets> parameters_;
    std::int64_t nextPts_ = 0;
};

bool LibavEncoder::Open()
{
    const AVCodec* codec = settings_.codec == VideoCodec::H264 ? avcodec_find_encoder_by_name("libx264")
                                                               : avcodec_find_encoder(AV_CODEC_ID_MPEG4);
    if (codec == nullptr || !frame_ || !packet_)
        return false;
    context_.reset(avcodec_alloc_context3(codec));
    if (!context_)
        return false;

    const int rate = static_cast<int>(settings_.frameRate);
    context_->width = static_cast<int>(settings_.width);
    context_->height = static_cast<int>(settings_.height);
    context_->time_base = {1, rate};
    context_->framerate = {rate, 1};
    context_->pix_fmt = AV_PIX_FMT_YUV420P;
    context_->gop_size = std::max(1, static_cast<int>(settings_.frameRate * settings_.keyInterval / 1000));
    context_->max_b_frames = 0;
    context_->log_level_offset = 10; // of the usual levels only errors are shown
    context_->thread_count = 1;      // a camera serves many streams; the threads would only trade places
    if (settings_.codec == VideoCodec::H264)
        SetUpH264();
    else
        SetUpMpeg4();
    if (avcodec_open2(context_.get(), codec, nullptr) < 0)
        return false;
    ReadExtradata();
    return true;
}

void LibavEncoder::SetBitrate()
{
    context_->bit_rate = settings_.bitrate;
    context_->rc_max_rate = settings_.bitrate;
    context_->rc_buffer_size = static_cast<int>(settings_.bitrate);
}

void LibavEncoder::SetUpH264()
{
    context_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    if (settings_.interlaced)
        context_->flags |= AV_CODEC_FLAG_INTERLACED_DCT | AV_CODEC_FLAG_INTERLACED_ME;
    void* options = context_->priv_data;
    av_opt_set(options, "preset", "ultrafast", 0);
    av_opt_set(options, "tune", "zerolatency", 0);
    av_opt_set_int(options, "forced-idr", 1, 0);
    std::string parameters = "scenecut=0:sliced-threads=0:slices=" + std::to_string(settings_.slices);
    if (settings_.profile != H264Profile::Baseline)
        parameters += ":cabac=1";
    if (settings_.profile == H264Profile::High)
        parameters += ":8x8dct=1";
    if (settings_.scalingLists)
        parameters += ":cqm=jvt";
    av_opt_set(options, "x264-params", parameters.c_str(), 0);
    if (settings_.rateControl == RateControl::ConstantBitrate)
        SetBitrate();
    else
        av_opt_set_int(options, "qp",
                       std::clamp(static_cast<int>(settings_.quantizer), kFinestH264Quantizer, 51), 0);
}

void LibavEncoder::SetUpMpeg4()
{
    // Without the global header flag every key picture brings its sequence headers, as cameras send it.
    if (settings_.rateControl == RateControl::ConstantBitrate)
    {
        SetBitrate();
        return;
    }
    context_->flags |= AV_CODEC_FLAG_QSCALE;
    context_->global_quality = FF_QP2LAMBDA * std::clamp(static_cast<int>(settings_.quantizer), 1, 31);
}

void LibavEncoder::ReadExtradata()
{
    auto sets = std::make_shared<ParameterSets>();
    const std::span<const std::uint8_t> extradata(context_->extradata,
                                                  static_cast<std::size_t>(context_->extradata_size));
    if (settings_.codec == VideoCodec::H264)
    {
        for (const NalUnit& unit : SplitAnnexB(extradata))
        {
            const auto bytes = extradata.subspan(unit.offset, unit.size);
            if (NalTypeOf(bytes[0]) == kNalSps)
                sets->sps.assign(bytes.begin(), bytes.end());
            else if (NalTypeOf(bytes[0]) == kNalPps)
                sets->pps.assign(bytes.begin(), bytes.end());
        }
    }
    parameters_ = std::move(sets);
}

/// Lets the frame look at the canvas' planes: the encoders are done with them when they give the packet.
void LibavEncoder::Borrow(Canvas& picture)
{
    av_frame_unref(frame_.get());
    frame_->format = context_->pix_fmt;
    frame_->width = context_->width;
    frame_->height = context_->height;
    for (int plane = 0; plane < Canvas::kPlanes; ++plane)
    {
        const int rows = plane == 0 ? picture.Height() : picture.Height() / 2;
        frame_->data[plane] = picture.Plane(plane);
        frame_->linesize[plane] = picture.Stride(plane);
        frame_->buf[plane] =
            av_buffer_create(picture.Plane(plane),
                             static_cast<std::size_t>(picture.Stride(plane)) * static_cast<std::size_t>(rows),
                             KeepPlane, nullptr, 0);
    }
    if (settings_.interlaced)
    {
        frame_->interlaced_frame = 1;
        frame_->top_field_first = 1;
    }
}

std::shared_ptr<const EncodedFrame> LibavEncoder::Encode(Canvas& picture, bool forceKey)
{
    Borrow(picture);
    frame_->pts = nextPts_++;
    frame_->pict_type = forceKey ? AV_PICTURE_TYPE_I : AV_PICTURE_TYPE_NONE;
    frame_->quality = context_->global_quality;
    if (avcodec_send_frame(context_.get(), frame_.get()) < 0 ||
        avcodec_receive_packet(context_.get(), packet_.get()) < 0)
        return nullptr;
    auto received = Received();
    av_packet_unref(packet_.get());
    return received;
}

std::shared_ptr<const EncodedFrame> LibavEncoder::Received()
{
    auto encoded = std::make_shared<EncodedFrame>();
    encoded->codec = settings_.codec;
    encoded->key = (packet_->flags & AV_PKT_FLAG_KEY) != 0;
    encoded->width = context_->width;
    encoded->height = context_->height;
    encoded->bytes.assign(packet_->data, packet_->data + packet_->size);
    if (encoded->codec == VideoCodec::H264)
    {
        // The encoder's note about itself in the first picture is none of a camera's business.
        for (const NalUnit& unit : SplitAnnexB(encoded->bytes))
        {
            const NalType type = NalTypeOf(encoded->bytes[unit.offset]);
            if (type == kNalSlice || type == kNalIdrSlice)
                encoded->units.push_back(unit);
        }
    }
    if (encoded->codec == VideoCodec::Mpeg4 && parameters_->config.empty())
    {
        auto sets = std::make_shared<ParameterSets>();
        const auto start = std::search(encoded->bytes.begin(), encoded->bytes.end(), kPictureStart.begin(),
                                       kPictureStart.end());
        sets->config.assign(encoded->bytes.begin(), start);
        parameters_ = std::move(sets);
    }
    encoded->parameterSets = parameters_;
    return encoded;
}

} // namespace

std::unique_ptr<VideoEncoder> VideoEncoder::Open(const VideoSettings& settings)
{
    if (settings.codec == VideoCodec::MotionJpeg)
        return OpenJpegEncoder(Normalized(settings));
    auto encoder = std::make_unique<LibavEncoder>(settings);
    if (!encoder->Open())
        return nullptr;
    return encoder;
}

} // namespace larkmoor::camera
