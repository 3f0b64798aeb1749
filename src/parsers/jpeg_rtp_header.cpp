#include "parsers/jpeg_rtp_header.h"

#include <algorithm>
#include <initializer_list>

#include "parsers/jpeg_tables.h"
#include "runtime/byte_order.h"

namespace korvane
{

namespace
{

constexpr std::size_t kTableHeaderBytes = 4;
constexpr std::uint8_t kQuantisationMarker = 0xDB; // DQT of ITU-T T.81, table B.1
constexpr std::uint8_t kHuffmanMarker = 0xC4;      // DHT
constexpr std::uint8_t kFirstQWithTables = 128;
constexpr std::uint32_t kPixelsPerUnit = 8;
constexpr std::uint32_t kLargestExtent = 2048; // a field of 0 whose true value isn't known

using Bytes = std::span<const std::uint8_t>;

std::uint32_t Extent(std::uint8_t field, std::uint32_t ofChannel)
{
    const std::uint32_t extent = field * kPixelsPerUnit;
    if (extent * 2 < ofChannel)
        return ofChannel;
    return extent == 0 ? kLargestExtent : extent;
}

/// RFC 2435, section 4.2.
std::array<std::uint8_t, 128> TablesFromQ(std::uint8_t quality)
{
    const std::uint32_t q = std::clamp<std::uint32_t>(quality, 1, 99);
    const std::uint32_t scale = q < 50 ? 5000 / q : (100 - q) * 2;
    std::array<std::uint8_t, 128> tables{};
    std::ranges::transform(
        JpegTables::kQuantisation, tables.begin(),
        [scale](std::uint32_t base)
        { return static_cast<std::uint8_t>(std::clamp((base * scale + 50) / 100, 1u, 255u)); });
    return tables;
}

//  |      MBZ      |   Precision   |             Length            |
bool ReadTables(Bytes source, JpegRtpHeader& header)
{
    if (source.size() < header.size + kTableHeaderBytes)
        return false;
    const Bytes at = source.subspan(header.size);
    const std::size_t length = at[0] == 0 ? Utils::LoadBigEndian16(&at[2]) : 0;
    if (length > at.size() - kTableHeaderBytes)
        return false;
    header.tables = at.subspan(kTableHeaderBytes, length);
    header.size += kTableHeaderBytes + length;
    return true;
}

/// Writes as far as there is room, and knows whether it was enough.
class Writer
{
public:
    explicit Writer(std::span<std::uint8_t> room) : room_(room) {}

    void Put(Bytes bytes)
    {
        fits_ = fits_ && bytes.size() <= room_.size() - at_;
        if (!fits_)
            return;
        std::ranges::copy(bytes, room_.begin() + static_cast<std::ptrdiff_t>(at_));
        at_ += bytes.size();
    }
    void Put(std::initializer_list<std::uint8_t> bytes) { Put(Bytes(bytes.begin(), bytes.size())); }
    void Put16(std::uint32_t value)
    {
        Put({static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)});
    }

    void PutTable(std::uint8_t marker, std::uint8_t id, Bytes table)
    {
        Put({0xFF, marker});
        Put16(static_cast<std::uint32_t>(table.size()) + 3);
        Put({id});
        Put(table);
    }

    std::size_t Length() const { return fits_ ? at_ : 0; }

private:
    const std::span<std::uint8_t> room_;
    std::size_t at_ = 0;
    bool fits_ = true;
};

} // namespace

//   0                   1                   2                   3
//  | Type-specific |              Fragment Offset                  |
//  |      Type     |       Q       |     Width     |     Height    |
//  |       Restart Interval        |F|L|       Restart Count       |  types 64 to 127
//  |      MBZ      |   Precision   |             Length            |  Q from 128 on
std::optional<JpegRtpHeader> ReadJpegRtpHeader(Bytes source, std::uint32_t channelWidth,
                                               std::uint32_t channelHeight)
{
    if (source.size() <= JpegRtpHeader::kMainBytes)
        return std::nullopt;
    const std::uint8_t type = source[4];
    const std::uint8_t quality = source[5];
    JpegRtpHeader header;
    header.isHalfHeight = (type & 1) != 0;
    header.width = Extent(source[6], channelWidth);
    header.height = Extent(source[7], channelHeight);
    header.size = JpegRtpHeader::kMainBytes;
    if (type >= JpegRtpHeader::kFirstRestartType)
    {
        if (source.size() < header.size + JpegRtpHeader::kRestartBytes)
            return std::nullopt;
        header.restartInterval = Utils::LoadBigEndian16(&source[header.size]);
        header.size += JpegRtpHeader::kRestartBytes;
    }
    if (quality >= kFirstQWithTables && !ReadTables(source, header))
        return std::nullopt;
    if (header.tables.empty())
        header.standardTables = TablesFromQ(quality);
    if (header.size >= source.size())
        return std::nullopt;
    return header;
}

std::size_t WriteJpegHeader(const JpegRtpHeader& header, std::span<std::uint8_t> room)
{
    const Bytes tables = header.Tables();
    const bool hasTwoTables = tables.size() > JpegTables::kTableBytes;
    const std::size_t firstBytes = hasTwoTables ? tables.size() / 2 : tables.size();

    Writer out(room);
    out.Put({0xFF, 0xD8}); // SOI, then APP0
    out.Put({0xFF, 0xE0, 0, 16, 'J', 'F', 'I', 'F', 0, 1, 1, 0, 0, 1, 0, 1, 0, 0});
    if (header.restartInterval != 0)
    {
        out.Put({0xFF, 0xDD, 0, 4}); // DRI
        out.Put16(header.restartInterval);
    }
    out.PutTable(kQuantisationMarker, 0, tables.first(firstBytes));
    if (hasTwoTables)
        out.PutTable(kQuantisationMarker, 1, tables.subspan(firstBytes));

    out.Put({0xFF, 0xC0, 0, 17, 8}); // SOF0, 8 bits a sample
    out.Put16(header.height);
    out.Put16(header.width);
    const std::uint8_t sampling = header.isHalfHeight ? 0x22 : 0x21;
    const std::uint8_t colourTable = hasTwoTables ? 1 : 0;
    out.Put({3, 1, sampling, 0, 2, 0x11, colourTable, 3, 0x11, colourTable});

    out.PutTable(kHuffmanMarker, 0x00, JpegTables::kDcLuminance);
    out.PutTable(kHuffmanMarker, 0x10, JpegTables::kAcLuminance);
    out.PutTable(kHuffmanMarker, 0x01, JpegTables::kDcChrominance);
    out.PutTable(kHuffmanMarker, 0x11, JpegTables::kAcChrominance);
    out.Put({0xFF, 0xDA, 0, 12, 3, 1, 0x00, 2, 0x11, 3, 0x11, 0, 63, 0}); // SOS
    return out.Length();
}

} // namespace korvane
