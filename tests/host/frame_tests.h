#pragma once

#include "host/contract/frame.h"
#include "host/recording/libav.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

namespace larkmoor::host::test
{

using Bytes = std::vector<std::uint8_t>;

/// A folder that goes with its test.
class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "larkmoor-test-XXXXXX").string();
        path_ = mkdtemp(name.data());
    }
    ~TemporaryFolder() { std::filesystem::remove_all(path_); }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

inline std::string ReadFile(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

inline void WriteFile(const std::filesystem::path& file, const std::string& text)
{
    std::ofstream(file, std::ios::binary) << text;
}

/// A picture of one grey, as a camera would send it.
inline Bytes EncodePicture(AVCodecID codec, int width, int height, std::uint8_t luma)
{
    const AVCodec* encoder = avcodec_find_encoder(codec);
    const LibavCodecContext context(avcodec_alloc_context3(encoder));
    context->width = width;
    context->height = height;
    context->time_base = {1, 25};
    context->pix_fmt = codec == AV_CODEC_ID_MJPEG ? AV_PIX_FMT_YUVJ420P : AV_PIX_FMT_YUV420P;
    context->max_b_frames = 0;
    const LibavFrame frame(av_frame_alloc());
    const LibavPacket packet(av_packet_alloc());
    if (avcodec_open2(context.get(), encoder, nullptr) < 0)
        return {};
    frame->format = context->pix_fmt;
    frame->width = width;
    frame->height = height;
    av_frame_get_buffer(frame.get(), 0);
    for (int plane = 0; plane < 3; ++plane)
    {
        const int rows = plane == 0 ? height : (height + 1) / 2;
        std::fill_n(frame->data[plane], frame->linesize[plane] * rows, plane == 0 ? luma : std::uint8_t{128});
    }
    avcodec_send_frame(context.get(), frame.get());
    avcodec_send_frame(context.get(), nullptr);
    if (avcodec_receive_packet(context.get(), packet.get()) < 0)
        return {};
    return {packet->data, packet->data + packet->size};
}

/// A frame as the driver fills it.
class FilledFrame
{
public:
    FilledFrame(std::uint32_t format, const Bytes& data, std::uint32_t width, std::uint32_t height,
                std::int64_t unixMilliseconds)
        : frame_(data.size() + 16, [](const std::string&) {})
    {
        frame_.Prepare(format, data.size(), false);
        std::copy(data.begin(), data.end(), frame_.GetData());
        frame_.SetDataSize(static_cast<std::uint32_t>(data.size()));
        frame_.SetWidth(width);
        frame_.SetHeight(height);
        const SYSTEMTIME time = CalendarTime(unixMilliseconds);
        frame_.SetTime(&time);
    }

    const Frame& operator*() const { return frame_; }

private:
    static SYSTEMTIME CalendarTime(std::int64_t unixMilliseconds)
    {
        const std::time_t seconds = unixMilliseconds / 1000;
        std::tm fields{};
        gmtime_r(&seconds, &fields);
        SYSTEMTIME time{};
        time.year = static_cast<std::uint16_t>(fields.tm_year + 1900);
        time.month = static_cast<std::uint16_t>(fields.tm_mon + 1);
        time.day = static_cast<std::uint16_t>(fields.tm_mday);
        time.hour = static_cast<std::uint16_t>(fields.tm_hour);
        time.minute = static_cast<std::uint16_t>(fields.tm_min);
        time.second = static_cast<std::uint16_t>(fields.tm_sec);
        time.milliseconds = static_cast<std::uint16_t>(unixMilliseconds % 1000);
        return time;
    }

    Frame frame_;
};

} // namespace larkmoor::host::test
