#include "parsers/mpeg4_rtp_media_parser.h"

#include <algorithm>
#include <utility>

#include "parsers/mpeg4_header_reader.h"
#include "parsers/mpeg4_start_code.h"

namespace korvane
{

namespace
{

constexpr std::uint8_t kCodingTypeBits = 0xC0; // vop_coding_type; 0 is intra

} // namespace

CMpeg4RTPMediaParser::CMpeg4RTPMediaParser(IDriver* driver, std::string driverName)
    : CRTPMediaParser(driver, std::move(driverName))
{
}

void CMpeg4RTPMediaParser::ResetParser()
{
    waitingForKey_ = true;
    isKey_ = false;
    width_ = 0;
    height_ = 0;
    frameBuffer_.clear();
    converter_.Reset();
}

void CMpeg4RTPMediaParser::OnPacket(CRTPPacket& packet)
{
    try
    {
        if (!CheckSequence(packet))
            ResetParser();
        AddPayload(packet.Payload());
        if (waitingForKey_)
            return;
        if (!CheckBufferSize())
            return ResetParser();
        if (packet.Marker())
        {
            CompleteFrame(packet.Timestamp());
            frameBuffer_.clear();
        }
    }
    catch (...)
    {
        ResetParser(); // half a frame must not open the next one
    }
}

void CMpeg4RTPMediaParser::AddPayload(std::span<const std::uint8_t> payload)
{
    const auto rest = payload.subspan(stream_.TakeConfig(payload));
    constexpr std::size_t kCodeBytes = kPictureStartCode.size();
    if (rest.size() > kCodeBytes && std::ranges::equal(rest.first(kCodeBytes), kPictureStartCode))
    {
        frameBuffer_.clear();
        isKey_ = (rest[kCodeBytes] & kCodingTypeBits) == 0;
        if (isKey_)
        {
            Append(stream_.Config());
            waitingForKey_ = false;
        }
    }
    if (!waitingForKey_)
        Append(rest);
}

void CMpeg4RTPMediaParser::CompleteFrame(std::uint32_t timestamp)
{
    if (frameBuffer_.empty() || !CanDeliver())
        return;
    converter_.Convert(timestamp);
    if (isKey_)
    {
        const auto size = ReadMpeg4PictureSize(frameBuffer_);
        if (!size)
            return ResetParser();
        width_ = size->width;
        height_ = size->height;
    }
    if (!DeliverFrame(isKey_ ? ipcapture::kFormatMpeg4Key : ipcapture::kFormatMpeg4Delta, frameBuffer_))
        ResetParser();
}

} // namespace korvane
