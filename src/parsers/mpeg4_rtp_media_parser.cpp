#include "parsers/mpeg4_rtp_media_parser.h"

#include <algorithm>
#include <array>

#include "parsers/picture_size.h"

namespace korvane
{

namespace
{

// Start codes of ISO/IEC 14496-2, table 6-3.
constexpr std::array<std::uint8_t, 4> kSequenceStartCode = {0, 0, 1, 0xB0}; // visual object sequence
constexpr std::array<std::uint8_t, 4> kPictureStartCode = {0, 0, 1, 0xB6};  // VOP

constexpr std::size_t kLeastConfigBytes = 8;   // two start codes
constexpr std::uint8_t kCodingTypeBits = 0xC0; // vop_coding_type; 0 is intra

} // namespace

std::size_t CMP4Parser::TakeConfig(std::span<const std::uint8_t> payload)
{
    if (payload.size() < kLeastConfigBytes || !std::ranges::equal(payload.first(4), kSequenceStartCode))
        return 0;
    const auto picture =
        std::search(payload.begin() + 4, payload.end(), kPictureStartCode.begin(), kPictureStartCode.end());
    if (picture == payload.end())
        return 0;
    config_.assign(payload.begin(), picture);
    return config_.size();
}

void CMpeg4RTPMediaParser::ResetParser()
{
    CRTPMediaParser::ResetParser();
    isKey_ = false;
    converter_.Reset();
}

bool CMpeg4RTPMediaParser::AddPayload(Bytes payload)
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
    return !waitingForKey_;
}

void CMpeg4RTPMediaParser::CompleteFrame(std::uint32_t timestamp)
{
    if (!CanDeliver())
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
    DeliverFrame(isKey_ ? ipcapture::kFormatMpeg4Key : ipcapture::kFormatMpeg4Delta);
}

} // namespace korvane
