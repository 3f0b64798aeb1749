#include "host/recording/matroska_writer.h"

#include "host/base/failure.h"
#include "host/recording/annex_b.h"
#include "host/recording/libav.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace larkmoor::host
{

namespace
{

[[noreturn]] void Fail(const std::filesystem::path& file, int code)
{
    throw Failure(ExitStatus::Output, "can't write " + file.string() + ": " + LibavError(code));
}

std::vector<std::uint8_t> CodecHeaders(AVCodecID codec, const Frame& keyFrame)
{
    if (codec == AV_CODEC_ID_H264)
        return H264Headers(keyFrame.Data());
    return codec == AV_CODEC_ID_MPEG4 ? Mpeg4Headers(keyFrame.Data()) : std::vector<std::uint8_t>();
}

void SetHeaders(AVCodecParameters& parameters, const std::vector<std::uint8_t>& headers)
{
    if (headers.empty())
        return;
    parameters.extradata =
        static_cast<std::uint8_t*>(av_mallocz(headers.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    if (parameters.extradata == nullptr)
        throw std::bad_alloc();
    std::copy(headers.begin(), headers.end(), parameters.extradata);
    parameters.extradata_size = static_cast<int>(headers.size());
}

} // namespace

struct MatroskaWriter::Container
{
    AVFormatContext* format = nullptr;
    AVStream* stream = nullptr;
    LibavPacket packet{av_packet_alloc()};
    AVCodecID codec = AV_CODEC_ID_NONE;
    bool hasHeader = false;
    std::filesystem::path path;

    Container() = default;
    Container(const Container&) = delete;
    Container& operator=(const Container&) = delete;
    ~Container()
    {
        if (format != nullptr)
            avio_closep(&format->pb);
        avformat_free_context(format);
    }

    void Open(const std::filesystem::path& file, const Frame& keyFrame);
    void Write(const Frame& frame, std::int64_t place);
    void Close();
};

void MatroskaWriter::Container::Open(const std::filesystem::path& file, const Frame& keyFrame)
{
    path = file;
    codec = CodecOfFormat(keyFrame.Info().format);
    if (const int code = avformat_alloc_output_context2(&format, nullptr, "matroska", nullptr); code < 0)
        Fail(path, code);
    stream = avformat_new_stream(format, nullptr);
    if (stream == nullptr || !packet)
        throw std::bad_alloc();
    AVCodecParameters& parameters = *stream->codecpar;
    parameters.codec_type = AVMEDIA_TYPE_VIDEO;
    parameters.codec_id = codec;
    parameters.width = static_cast<int>(keyFrame.Info().width);
    parameters.height = static_cast<int>(keyFrame.Info().height);
    SetHeaders(parameters, CodecHeaders(codec, keyFrame));
    stream->time_base = {1, 1000};
    if (const int code = avio_open(&format->pb, ("file:" + path.string()).c_str(), AVIO_FLAG_WRITE); code < 0)
        Fail(path, code);
    if (const int code = avformat_write_header(format, nullptr); code < 0)
        Fail(path, code);
    hasHeader = true;
}

void MatroskaWriter::Container::Write(const Frame& frame, std::int64_t place)
{
    // The bytes stay the frame's: the one stream has nothing to be interleaved with, so nothing is kept.
    packet->data = const_cast<std::uint8_t*>(frame.Data().data());
    packet->size = static_cast<int>(frame.Data().size());
    packet->stream_index = 0;
    packet->flags = IsKeyFrame(frame.Info().format) ? AV_PKT_FLAG_KEY : 0;
    packet->pts = packet->dts = av_rescale_q(place, {1, 1000}, stream->time_base);
    const int code = av_write_frame(format, packet.get());
    packet->data = nullptr;
    packet->size = 0;
    if (code < 0 || format->pb->error < 0)
        Fail(path, code < 0 ? code : format->pb->error);
}

void MatroskaWriter::Container::Close()
{
    int code = hasHeader ? av_write_trailer(format) : 0;
    hasHeader = false;
    if (code >= 0)
        code = format->pb->error;
    if (const int closed = avio_closep(&format->pb); code >= 0)
        code = closed;
    if (code < 0)
        Fail(path, code);
}

MatroskaWriter::MatroskaWriter(std::filesystem::path file) : path_(std::move(file))
{
    av_log_set_level(AV_LOG_ERROR);
}

MatroskaWriter::~MatroskaWriter() = default;

bool MatroskaWriter::NeedsNewFile(const Frame& keyFrame) const
{
    return !container_ || files_.back().width != keyFrame.Info().width ||
           files_.back().height != keyFrame.Info().height ||
           container_->codec != CodecOfFormat(keyFrame.Info().format);
}

std::filesystem::path MatroskaWriter::NextPath() const
{
    if (files_.empty())
        return path_;
    return path_.parent_path() /
           (path_.stem().string() + '-' + std::to_string(files_.size() + 1) + path_.extension().string());
}

void MatroskaWriter::Open(const Frame& keyFrame)
{
    Finish();
    auto container = std::make_unique<Container>();
    const std::filesystem::path path = NextPath();
    container->Open(path, keyFrame);
    container_ = std::move(container);
    timeline_ = Timeline();
    const FrameInfo& info = keyFrame.Info();
    files_.push_back({path, 0, info.width, info.height, info.time, info.time, 0});
}

void MatroskaWriter::Write(const Frame& frame)
{
    const FrameInfo& info = frame.Info();
    if (info.isAudio || CodecOfFormat(info.format) == AV_CODEC_ID_NONE)
        return;
    if (IsKeyFrame(info.format) && NeedsNewFile(frame))
        Open(frame);
    if (!container_)
        return; // nothing can be played before the first key frame
    container_->Write(frame, timeline_.Place(info.time));
    RecordedFile& file = files_.back();
    ++file.frames;
    file.lastTime = info.time;
    file.moved = timeline_.Moved();
}

void MatroskaWriter::Finish()
{
    if (const auto container = std::exchange(container_, nullptr))
        container->Close();
}

} // namespace larkmoor::host
