#include "transport/rtp_packet.h"

#include <cstring>

#include "runtime/byte_order.h"

namespace korvane
{

namespace
{

constexpr unsigned kVersion = 2;
constexpr std::uint32_t kWordBytes = 4;

std::uint32_t LoadAsSent(const std::uint8_t* bytes)
{
    std::uint32_t word = 0;
    std::memcpy(&word, bytes, sizeof(word));
    return word;
}

} // namespace

//  0                   1                   2                   3
//  0 1 2 3 4 5 6 7 8 9 0 1 2 3 4 5 6 7 8 9 0 1 2 3 4 5 6 7 8 9 0 1
// +-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+-+
// |V=2|P|X|  CC   |M|     PT      |       sequence number         |
// |                           timestamp                           |
// |                             SSRC                              |
// |                     CC words of CSRC, if any                  |
// |      extension profile        |   extension length in words   |  with X only
// |                          payload, padding                     |
bool CRTPPacket::ParseInPlace(const std::uint8_t* data, std::uint32_t length)
{
    fields_ = Fields();
    if (length <= kFixedHeaderBytes || data[0] >> 6 != kVersion)
        return false;

    Fields read;
    std::uint32_t at = kFixedHeaderBytes;
    read.csrcCount = data[0] & 0x0F;
    const std::uint32_t csrcBytes = kWordBytes * read.csrcCount;
    if (csrcBytes != 0 && csrcBytes >= length - at)
        return false; // a list that fills the packet leaves nothing to play
    at += csrcBytes;

    if ((data[0] & 0x10) != 0)
    {
        if (length - at < kWordBytes)
            return false;
        read.extensionProfile = Utils::LoadBigEndian16(data + at);
        read.extensionWords = Utils::LoadBigEndian16(data + at + 2);
        at += kWordBytes;
        const std::uint32_t extensionBytes = kWordBytes * read.extensionWords;
        if (extensionBytes > length - at)
            return false;
        at += extensionBytes;
    }

    read.padding = (data[0] & 0x20) != 0;
    const std::uint32_t padBytes = read.padding ? data[length - 1] : 0;
    if (padBytes > length - at)
        return false;

    read.marker = (data[1] & 0x80) != 0;
    read.payloadType = data[1] & 0x7F;
    read.sequence = Utils::LoadBigEndian16(data + 2);
    read.timestamp = Utils::LoadBigEndian32(data + 4);
    read.ssrc = LoadAsSent(data + 8);
    read.body = data + kFixedHeaderBytes;
    read.payloadOffset = at - kFixedHeaderBytes;
    read.payloadLength = length - at - padBytes;
    fields_ = read;
    return true;
}

bool CRTPPacket::Parse(const std::uint8_t* data, std::uint32_t length)
{
    if (!ParseInPlace(data, length))
        return false;

    const std::uint32_t bodyBytes = fields_.payloadOffset + fields_.payloadLength;
    if (bodyBytes > capacity_ || capacity_ > 2 * bodyBytes + kMostSpareBytes)
    {
        block_ = std::make_unique_for_overwrite<std::uint8_t[]>(bodyBytes);
        capacity_ = bodyBytes;
    }
    if (bodyBytes != 0)
        std::memcpy(block_.get(), fields_.body, bodyBytes);
    fields_.body = block_.get();
    return true;
}

std::uint32_t CRTPPacket::CSRC(std::uint32_t index) const
{
    return LoadAsSent(fields_.body + kWordBytes * index);
}

std::span<const std::uint8_t> CRTPPacket::Extension() const
{
    const std::uint32_t bytes = kWordBytes * fields_.extensionWords;
    if (bytes == 0)
        return {};
    return {fields_.body + fields_.payloadOffset - bytes, bytes};
}

} // namespace korvane
