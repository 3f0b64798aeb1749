#include "parsers/picture_size.h"

#include "support/bytes.h"
#include "support/table.h"

#include <memory>

#include <gtest/gtest.h>

extern "C"
{
#include <libavcodec/avcodec.h>
}

namespace korvane
{
namespace
{

using test::Bytes, test::Table;
using test::operator+;

/// The start of a stream as an encoder of FFmpeg makes it: its first picture with all headers.
Bytes Encode(const char* encoder, PictureSize size, int profile)
{
    const AVCodec* const codec = avcodec_find_encoder_by_name(encoder);
    if (codec == nullptr)
        return {};
    const std::shared_ptr<AVCodecContext> context(avcodec_alloc_context3(codec),
                                                  [](AVCodecContext* c) { avcodec_free_context(&c); });
    context->width = static_cast<int>(size.width);
    context->height = static_cast<int>(size.height);
    context->time_base = {1, 25};
    context->pix_fmt = AV_PIX_FMT_YUV420P;
    context->max_b_frames = 0;
    context->profile = profile;
    if (avcodec_open2(context.get(), codec, nullptr) < 0)
        return {};
    const std::shared_ptr<AVFrame> frame(av_frame_alloc(), [](AVFrame* f) { av_frame_free(&f); });
    frame->width = context->width;
    frame->height = context->height;
    frame->format = context->pix_fmt;
    const std::shared_ptr<AVPacket> packet(av_packet_alloc(), [](AVPacket* p) { av_packet_free(&p); });
    if (av_frame_get_buffer(frame.get(), 0) < 0)
        return {};
    for (frame->pts = 0; frame->pts < 20; ++frame->pts)
    {
        if (avcodec_send_frame(context.get(), frame.get()) < 0)
            return {};
        if (avcodec_receive_packet(context.get(), packet.get()) >= 0)
        {
            Bytes stream(context->extradata, context->extradata + context->extradata_size);
            stream.insert(stream.end(), packet->data, packet->data + packet->size);
            return stream;
        }
    }
    return {};
}

/// Bits by their texts, filled up to whole bytes.
Bytes Bits(const std::string& text)
{
    Bytes bytes;
    std::size_t count = 0;
    for (const char c : text)
        if (c == '0' || c == '1')
        {
            if (count++ % 8 == 0)
                bytes.push_back(0);
            bytes.back() = static_cast<std::uint8_t>(bytes.back() | (c - '0') << (7 - (count - 1) % 8));
        }
    return bytes;
}

TEST(Mpeg4HeaderReader, ReadsWhatEncodersWrite)
{
    for (const char* encoder : {"mpeg4", "libxvid"})
        for (const int profile :
             {FF_PROFILE_MPEG4_SIMPLE, FF_PROFILE_MPEG4_ADVANCED_SIMPLE, FF_PROFILE_UNKNOWN})
            for (const PictureSize size : {PictureSize{720, 576}, {176, 144}, {1280, 960}, {642, 482}})
            {
                SCOPED_TRACE(std::string(encoder) + " " + std::to_string(profile) + " " +
                             std::to_string(size.width));
                const Bytes stream = Encode(encoder, size, profile);
                ASSERT_FALSE(stream.empty());
                EXPECT_EQ(ReadMpeg4PictureSize(stream), size);
            }
    // The short header, plain at its five sizes, and with a size of its own.
    for (const PictureSize size : {PictureSize{128, 96}, {176, 144}, {352, 288}, {704, 576}, {1408, 1152}})
        EXPECT_EQ(ReadMpeg4PictureSize(Encode("h263", size, FF_PROFILE_UNKNOWN)), size) << size.width;
    for (const PictureSize size : {PictureSize{352, 288}, {720, 480}, {320, 240}})
        EXPECT_EQ(ReadMpeg4PictureSize(Encode("h263p", size, FF_PROFILE_UNKNOWN)), size) << size.width;
}

const Bytes kSequence = {0, 0, 1, 0xB0, 1};
const Bytes kVisual = Bits("00000000 00000000 00000001 10110101 0 0001 0 11"); // video, then stuffing
const Bytes kUser = {0, 0, 1, 0xB2, 'x', 'v', 'i', 'd', 0x7F};
const Bytes kObject = {0, 0, 1, 0};
const std::string kLayerStart = "00000000 00000000 00000001 00100000 0 00000001 "; // up to the object's type
const std::string kTail = " 00 1 0000000000011001 1 0 1 0001011010000 1 0001001000000 1";
const Bytes kLayer = Bits(kLayerStart + "0 0001 0" + kTail); // 720x576

TEST(Mpeg4HeaderReader, FindsTheLayerWhereverItStands)
{
    const std::string identified = "1 0010 001 1111 00000001 00000001 "; // verid, priority, extended aspect
    const std::string control =
        "1 01 1 1 000000000000000 1 000000000000000 1 000000000000000 1 000 00000000000 1 "
        "000000000000000 1";
    const std::string fixedRate = " 00 1 0000000000011001 1 1 11000 1 0001011010000 1 0001001000000 1";
    for (const auto& [name, bytes] : Table<const char*, Bytes>{
             {"alone", kLayer},
             {"behind its object", kObject + kLayer},
             {"with all headers", kSequence + kVisual + kObject + kLayer},
             {"user data everywhere", kSequence + kUser + kVisual + kUser + kUser + kObject + kUser + kLayer},
             {"an object with colours and an identifier",
              kSequence +
                  Bits("00000000 00000000 00000001 10110101 1 0001 001 0001 1 000 0 1 00000001 00000001 "
                       "00000001") +
                  kObject + kLayer},
             {"an object of another kind",
              kSequence + Bits("00000000 00000000 00000001 10110101 0 0010") + kLayer},
             {"noise in front", Bytes{1, 2, 3, 0, 0} + kLayer},
             {"everything that may stand in it", Bits(kLayerStart + identified + control + kTail)},
             {"a fixed rate", Bits(kLayerStart + "0 0001 0" + fixedRate)},
         })
        EXPECT_EQ(ReadMpeg4PictureSize(bytes), (PictureSize{720, 576})) << name;
}

TEST(Mpeg4HeaderReader, RefusesWhatItCannotTrust)
{
    const auto layer = [](const std::string& rest) { return Bits(kLayerStart + rest); };
    for (const auto& [name, bytes] : Table<const char*, Bytes>{
             {"nothing", {}},
             {"a sequence without its object", kSequence + kObject + kLayer},
             {"another type of object",
              Bits("00000000 00000000 00000001 00100000 0 00000010 0 0001 0" + kTail)},
             {"another chroma format", layer("0 0001 1 10 1 0" + kTail)},
             {"delayed pictures", layer("0 0001 1 01 0 0" + kTail)},
             {"another shape", layer("0 0001 0 01 1 0000000000011001 1 0 1 0001011010000 1 0001001000000 1")},
             {"a marker missing",
              layer("0 0001 0 00 1 0000000000011001 1 0 1 0001011010000 0 0001001000000 1")},
             {"no width", layer("0 0001 0 00 1 0000000000011001 1 0 1 0000000000000 1 0001001000000 1")},
             {"short header, format 0", Bits("00000000 00000000 100000 00000000 1 0 0 0 0 000 1111")},
             {"short header, format 6", Bits("00000000 00000000 100000 00000000 1 0 0 0 0 110 1111")},
             {"short header without its marker",
              Bits("00000000 00000000 100000 00000000 0 0 0 0 0 010 1111")},
         })
        EXPECT_EQ(ReadMpeg4PictureSize(bytes), std::nullopt) << name;
    const Bytes whole = kSequence + kVisual + kObject + kLayer;
    for (std::size_t size = 0; size + 1 < whole.size(); ++size) // copies let the address sanitizer see
        EXPECT_EQ(
            ReadMpeg4PictureSize(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size))),
            std::nullopt)
            << size;
}

} // namespace
} // namespace korvane
