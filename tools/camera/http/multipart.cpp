#include "camera/http/multipart.h"

#include "base/frame_stamp.h"
#include "camera/http/message.h"
#include "camera/media/canvas.h"
#include "camera/media/video_encoder.h"

#include <algorithm>
#include <cstdio>

namespace larkmoor::camera
{

namespace
{

constexpr const char* kBoundary = "myboundary";
constexpr std::uint32_t kCutEvery = 5;

std::string_view AsText(std::span<const std::uint8_t> bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// A small picture, made once; empty if there is no encoder for it.
const Bytes& Thumbnail()
{
    static const Bytes kThumbnail = []
    {
        VideoSettings settings;
        settings.codec = VideoCodec::MotionJpeg;
        settings.width = 160;
        settings.height = 120;
        const std::unique_ptr<VideoEncoder> encoder = VideoEncoder::Open(settings);
        Canvas picture(160, 120);
        picture.Fill({40, 30, 80, 60}, kGreen);
        const auto frame = encoder ? encoder->Encode(picture, true) : nullptr;
        return frame ? frame->bytes : Bytes();
    }();
    return kThumbnail;
}

void AppendTiff(Bytes& bytes, std::initializer_list<std::uint32_t> values, int size)
{
    for (const std::uint32_t value : values)
    {
        for (int i = 0; i < size; ++i)
            bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    }
}

} // namespace

std::vector<std::span<const std::uint8_t>> MultipartPart::Pieces() const
{
    if (!chunks.empty())
        return {AsBytes(chunks)};
    return {AsBytes(before), picture, AsBytes(after)};
}

Bytes WithSegment(std::span<const std::uint8_t> picture, std::span<const std::uint8_t> segment)
{
    constexpr std::size_t kStartOfImage = 2;
    Bytes bytes;
    bytes.reserve(picture.size() + segment.size());
    bytes.insert(bytes.end(), picture.begin(), picture.begin() + kStartOfImage);
    Append(bytes, segment);
    bytes.insert(bytes.end(), picture.begin() + kStartOfImage, picture.end());
    return bytes;
}

Bytes WithThumbnail(std::span<const std::uint8_t> picture, std::span<const std::uint8_t> thumbnail)
{
    // TIFF header, an empty first directory, a second one with the thumbnail's place and length
    // (Exif 2.3, 4.5.5).
    Bytes exif = {'E', 'x', 'i', 'f', 0, 0};
    constexpr std::uint32_t kThumbnailAt = 14 + 2 + 3 * 12 + 4;
    exif.insert(exif.end(), {'I', 'I', 42, 0});
    AppendTiff(exif, {8}, 4);
    AppendTiff(exif, {0}, 2);
    AppendTiff(exif, {14}, 4);
    AppendTiff(exif, {3}, 2);
    const struct
    {
        std::uint32_t tag, type, value;
    } entries[] = {
        {0x0103, 3, 6}, {0x0201, 4, kThumbnailAt}, {0x0202, 4, static_cast<std::uint32_t>(thumbnail.size())}};
    for (const auto& entry : entries)
    {
        AppendTiff(exif, {entry.tag, entry.type}, 2);
        AppendTiff(exif, {1, entry.value}, 4);
    }
    AppendTiff(exif, {0}, 4);
    Append(exif, thumbnail);

    Bytes segment = {0xFF, 0xE1};
    AppendNumber(segment, exif.size() + 2, 2);
    Append(segment, exif);
    return WithSegment(picture, segment);
}

std::string MultipartWriter::Head()
{
    chunked_ = faults_.Active("mjpeg-odd", "chunked");
    std::string head = "HTTP/1.1 200 OK\r\n"
                       "Server: larkmoor-camera\r\n"
                       "Cache-Control: no-cache, no-store\r\n"
                       "Connection: close\r\n";
    head += std::string("Content-Type: multipart/x-mixed-replace;boundary=") + kBoundary + "\r\n";
    if (chunked_)
        head += "Transfer-Encoding: chunked\r\n";
    return head + "\r\n";
}

MultipartPart MultipartWriter::Next(const MediaFrame& frame)
{
    MultipartPart part;
    part.frame = frame.encoded;
    part.picture = part.frame->bytes;
    ++count_;
    if (stamps_)
    {
        const std::string stamp = MakeFrameStamp(count_ - 1);
        Bytes comment = {0xFF, 0xFE, 0x00, 0x2A};
        Append(comment, AsBytes(stamp));
        part.altered = WithSegment(part.picture, comment);
        part.picture = part.altered;
    }
    if (faults_.Active("mjpeg-odd", "thumbnail") && !Thumbnail().empty())
    {
        part.thumbnail = Thumbnail();
        part.altered = WithThumbnail(part.picture, part.thumbnail);
        part.picture = part.altered;
    }
    if (faults_.Active("mjpeg-odd", "cut") && count_ % kCutEvery == 0)
    {
        part.picture = part.picture.first(part.picture.size() / 3 * 2);
        part.isWhole = false;
    }

    part.before = faults_.Active("mjpeg-odd", "no-boundary-dashes") ? "" : "--";
    part.before += std::string(kBoundary) + "\r\n";
    if (!faults_.Active("mjpeg-odd", "no-part-headers"))
    {
        part.before += "Content-Type: image/jpeg\r\n";
        if (!faults_.Active("mjpeg-odd", "no-length"))
            part.before += "Content-Length: " + std::to_string(part.picture.size()) + "\r\n";
    }
    part.before += "\r\n";
    part.after = "\r\n";
    if (chunked_)
        part.chunks = Chunk(part);
    return part;
}

/// The part in chunks of odd sizes, whose borders lie anywhere in the picture.
std::string MultipartWriter::Chunk(const MultipartPart& part)
{
    const std::string plain = part.before + std::string(AsText(part.picture)) + part.after;
    std::string chunks;
    for (std::size_t at = 0; at < plain.size();)
    {
        const std::size_t size =
            std::min<std::size_t>(1 + dice_.Below(dice_.Roll(0.2) ? 8 : 8000), plain.size() - at);
        char head[24];
        std::snprintf(head, sizeof head, "%zx\r\n", size);
        chunks += head;
        chunks.append(plain, at, size);
        chunks += "\r\n";
        at += size;
    }
    return chunks;
}

} // namespace larkmoor::camera
