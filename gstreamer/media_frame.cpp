#include "gstreamer/media_frame.h"

#include <algorithm>
#include <chrono>
#include <cstring>

namespace larkmoor::gst
{

using namespace korvane::ipcapture;

bool FrameInfo::IsKey() const
{
    return format != kFormatH264Delta && format != kFormatMpeg4Delta;
}

MediaFrame* MediaFrame::Make(std::uint32_t formatCode, std::uint32_t room)
{
    GstBuffer* const buffer = gst_buffer_new_allocate(nullptr, std::max(room, 1u), nullptr);
    if (buffer == nullptr)
        return nullptr;
    GstMapInfo map;
    if (!gst_buffer_map(buffer, &map, GST_MAP_WRITE))
    {
        gst_buffer_unref(buffer);
        return nullptr;
    }
    return new MediaFrame(buffer, map, formatCode);
}

MediaFrame::MediaFrame(GstBuffer* buffer, const GstMapInfo& map, std::uint32_t formatCode)
    : buffer_(buffer), map_(map)
{
    info_.format = formatCode;
}

MediaFrame::~MediaFrame()
{
    if (buffer_ != nullptr)
        gst_buffer_unref(TakeBuffer());
}

GstBuffer* MediaFrame::TakeBuffer()
{
    gst_buffer_unmap(buffer_, &map_);
    gst_buffer_set_size(buffer_, size_);
    return std::exchange(buffer_, nullptr);
}

void MediaFrame::SetData(const std::uint8_t* data, std::uint32_t sizeBytes)
{
    SetDataSize(data == nullptr ? 0 : sizeBytes);
    if (size_ != 0)
        std::memcpy(map_.data, data, size_);
}

void MediaFrame::SetDataSize(std::uint32_t sizeBytes)
{
    size_ = static_cast<std::uint32_t>(std::min<gsize>(sizeBytes, map_.size));
}

void MediaFrame::SetTimeNow()
{
    info_.time = g_get_real_time();
}

void MediaFrame::SetTime(const SYSTEMTIME* captureTime)
{
    using namespace std::chrono;
    if (captureTime == nullptr)
        return SetTimeNow();
    const sys_days day = year(captureTime->year) / month(captureTime->month) / captureTime->day;
    const auto moment = day.time_since_epoch() + hours(captureTime->hour) + minutes(captureTime->minute) +
                        seconds(captureTime->second) + milliseconds(captureTime->milliseconds);
    info_.time = duration_cast<microseconds>(moment).count();
}

void MediaFrame::SetCodecConfig(std::uint32_t sizeBytes, const std::uint8_t* config)
{
    constexpr std::uint32_t kLargest = 1024; // an AudioSpecificConfig needs a few bytes
    if (config != nullptr && sizeBytes <= kLargest)
        info_.codecConfig.assign(config, config + sizeBytes);
}

void MediaFrame::SetAudioFormat(std::uint32_t sampleRate, std::uint8_t, bool stereo)
{
    info_.sampleRate = sampleRate;
    info_.isStereo = stereo;
}

IHostFrame* FrameAllocator::AllocateVideoFrame(std::uint32_t formatCode, std::uint32_t sizeBytes, const char*)
{
    return MediaFrame::Make(formatCode, sizeBytes);
}

IHostFrame* FrameAllocator::AllocateAudioFrame(std::uint32_t formatCode, std::uint32_t sizeBytes, const char*)
{
    return MediaFrame::Make(formatCode, sizeBytes);
}

} // namespace larkmoor::gst
