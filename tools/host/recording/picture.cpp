#include "host/recording/picture.h"

#include "host/base/failure.h"
#include "host/recording/frame_files.h"
#include "host/recording/libav.h"

#include <algorithm>

namespace larkmoor::host
{

namespace
{

[[noreturn]] void Fail(const std::string& text)
{
    throw Failure(ExitStatus::Output, "no picture: " + text);
}

LibavCodecContext MakeContext(const AVCodec* codec)
{
    LibavCodecContext context(codec == nullptr ? nullptr : avcodec_alloc_context3(codec));
    if (!context)
        Fail("the codec is not there");
    context->thread_count = 1; // more would keep the picture back
    return context;
}

LibavFrame Decode(AVCodecID codec, const std::vector<std::uint8_t>& bytes)
{
    const AVCodec* decoder = avcodec_find_decoder(codec);
    const LibavCodecContext context = MakeContext(decoder);
    if (const int code = avcodec_open2(context.get(), decoder, nullptr); code < 0)
        Fail(LibavError(code));
    const LibavPacket packet(av_packet_alloc());
    LibavFrame frame(av_frame_alloc());
    if (!packet || !frame || av_new_packet(packet.get(), static_cast<int>(bytes.size())) < 0)
        throw std::bad_alloc();
    std::copy(bytes.begin(), bytes.end(), packet->data);

    int code = avcodec_send_packet(context.get(), packet.get());
    if (code >= 0)
        code = avcodec_send_packet(context.get(), nullptr); // nothing follows: give the picture out
    if (code >= 0)
        code = avcodec_receive_frame(context.get(), frame.get());
    if (code < 0)
        Fail(LibavError(code));
    return frame;
}

LibavFrame ConvertToRgb(const AVFrame& frame)
{
    LibavFrame rgb(av_frame_alloc());
    if (!rgb)
        throw std::bad_alloc();
    rgb->format = AV_PIX_FMT_RGB24;
    rgb->width = frame.width;
    rgb->height = frame.height;
    if (av_frame_get_buffer(rgb.get(), 0) < 0)
        throw std::bad_alloc();
    SwsContext* scaler =
        sws_getContext(frame.width, frame.height, static_cast<AVPixelFormat>(frame.format), rgb->width,
                       rgb->height, AV_PIX_FMT_RGB24, SWS_BICUBIC, nullptr, nullptr, nullptr);
    if (scaler == nullptr)
        Fail("no way from its colours to RGB");
    sws_scale(scaler, frame.data, frame.linesize, 0, frame.height, rgb->data, rgb->linesize);
    sws_freeContext(scaler);
    return rgb;
}

LibavPacket EncodePng(const AVFrame& rgb)
{
    const AVCodec* encoder = avcodec_find_encoder(AV_CODEC_ID_PNG);
    const LibavCodecContext context = MakeContext(encoder);
    context->width = rgb.width;
    context->height = rgb.height;
    context->pix_fmt = AV_PIX_FMT_RGB24;
    context->time_base = {1, 1};
    LibavPacket packet(av_packet_alloc());
    if (!packet)
        throw std::bad_alloc();
    int code = avcodec_open2(context.get(), encoder, nullptr);
    if (code >= 0)
        code = avcodec_send_frame(context.get(), &rgb);
    if (code >= 0)
        code = avcodec_receive_packet(context.get(), packet.get());
    if (code < 0)
        Fail(LibavError(code));
    return packet;
}

} // namespace

void WritePicture(std::uint32_t format, const std::vector<std::uint8_t>& keyFrame,
                  const std::filesystem::path& file)
{
    const LibavFrame frame = Decode(CodecOfFormat(format), keyFrame);
    const LibavFrame rgb = ConvertToRgb(*frame);
    const LibavPacket png = EncodePng(*rgb);
    OutputFile output(file);
    output.Write({reinterpret_cast<const char*>(png->data), static_cast<std::size_t>(png->size)});
    output.Finish();
}

void PictureKeeper::Write(const Frame& frame)
{
    if (!IsKeyFrame(frame.Info().format))
        return;
    const std::lock_guard guard(lock_);
    last_.format = frame.Info().format;
    last_.bytes.assign(frame.Data().begin(), frame.Data().end());
    for (const auto& file : waiting_)
        wanted_.push_back({last_.format, last_.bytes, file});
    waiting_.clear();
}

void PictureKeeper::WantNow(const std::filesystem::path& file)
{
    const std::lock_guard guard(lock_);
    if (last_.bytes.empty())
        waiting_.push_back(file);
    else
        wanted_.push_back({last_.format, last_.bytes, file});
}

void PictureKeeper::WantLast(const std::filesystem::path& file)
{
    const std::lock_guard guard(lock_);
    lastFile_ = file;
}

void PictureKeeper::Finish()
{
    const std::lock_guard guard(lock_);
    if (!lastFile_.empty() && !last_.bytes.empty())
        wanted_.push_back({last_.format, last_.bytes, lastFile_});
    else if (!lastFile_.empty())
        waiting_.push_back(lastFile_);
    for (const Picture& picture : wanted_)
        WritePicture(picture.format, picture.bytes, picture.file);
    if (!waiting_.empty())
        Fail("no key frame came for " + waiting_.front().string());
    wanted_.clear();
}

} // namespace larkmoor::host
