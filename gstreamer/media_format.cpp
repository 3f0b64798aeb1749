#include "gstreamer/media_format.h"

namespace larkmoor::gst
{

using namespace korvane::ipcapture;

namespace
{

constexpr std::uint64_t kAacSamples = 1024; // of an access unit (ISO/IEC 14496-3, 4.5.1.1)
constexpr std::uint32_t kG726Rate = 8000;

unsigned BitsOfG726(const FrameInfo& info)
{
    const std::uint32_t bits = info.bitRate / kG726Rate;
    return bits >= 2 && bits <= 5 ? bits : 4;
}

const char* VideoType(std::uint32_t format)
{
    switch (format)
    {
    case kFormatH264Key:
    case kFormatH264Delta:
        return "video/x-h264,stream-format=byte-stream,alignment=au";
    case kFormatMpeg4Key:
    case kFormatMpeg4Delta:
        return "video/mpeg,mpegversion=4,systemstream=false";
    case kFormatJpeg:
        return "image/jpeg";
    default:
        return nullptr;
    }
}

const char* AudioType(std::uint32_t format)
{
    switch (format)
    {
    case kFormatG711MuLaw:
        return "audio/x-mulaw";
    case kFormatG711ALaw:
        return "audio/x-alaw";
    case kFormatG726:
        return "audio/x-adpcm,layout=g726";
    case kFormatAac:
        return "audio/mpeg,mpegversion=4,stream-format=raw,framed=true";
    default:
        return nullptr;
    }
}

void SetCodecData(GstCaps* caps, const std::vector<std::uint8_t>& config)
{
    GstBuffer* const data = gst_buffer_new_memdup(config.data(), config.size());
    gst_caps_set_simple(caps, "codec_data", GST_TYPE_BUFFER, data, nullptr);
    gst_buffer_unref(data);
}

} // namespace

GstCaps* CapsOf(const FrameInfo& info)
{
    if (const char* const type = VideoType(info.format))
    {
        GstCaps* const caps = gst_caps_from_string(type);
        if (info.width != 0 && info.height != 0)
            gst_caps_set_simple(caps, "width", G_TYPE_INT, static_cast<gint>(info.width), "height",
                                G_TYPE_INT, static_cast<gint>(info.height), nullptr);
        return caps;
    }
    const char* const type = AudioType(info.format);
    if (type == nullptr)
        return nullptr;
    GstCaps* const caps = gst_caps_from_string(type);
    gst_caps_set_simple(caps, "rate", G_TYPE_INT, static_cast<gint>(info.sampleRate), "channels", G_TYPE_INT,
                        info.isStereo ? 2 : 1, nullptr);
    if (info.format == kFormatG726)
        gst_caps_set_simple(caps, "bitrate", G_TYPE_INT, static_cast<gint>(BitsOfG726(info) * kG726Rate),
                            nullptr);
    if (info.format == kFormatAac && !info.codecConfig.empty())
        SetCodecData(caps, info.codecConfig);
    return caps;
}

GstClockTime DurationOf(const FrameInfo& info, std::size_t sizeBytes)
{
    if (info.sampleRate == 0)
        return 0;
    std::uint64_t samples = 0;
    if (info.format == kFormatAac)
        samples = kAacSamples;
    else if (info.format == kFormatG726)
        samples = sizeBytes * 8 / BitsOfG726(info);
    else if (AudioType(info.format) != nullptr)
        samples = sizeBytes / (info.isStereo ? 2 : 1);
    return gst_util_uint64_scale(samples, GST_SECOND, info.sampleRate);
}

void PutIntoForm(const FrameInfo& info, std::span<std::uint8_t> bytes)
{
    if (info.format != kFormatG726)
        return;
    // Eight codes of n bits fill n bytes in either order.
    const unsigned bits = BitsOfG726(info);
    const std::uint64_t mask = (1u << bits) - 1;
    for (; bytes.size() >= bits; bytes = bytes.subspan(bits))
    {
        std::uint64_t codes = 0;
        for (unsigned i = 0; i < bits; ++i)
            codes |= std::uint64_t{bytes[i]} << (8 * i);
        std::uint64_t turned = 0;
        for (unsigned i = 0; i < 8; ++i)
            turned = turned << bits | (codes >> (bits * i) & mask);
        for (unsigned i = 0; i < bits; ++i)
            bytes[i] = static_cast<std::uint8_t>(turned >> (8 * (bits - 1 - i)));
    }
}

} // namespace larkmoor::gst
