#include "camera/rtsp/cut_picture.h"

#include "camera/media/jpeg_encoder.h"

#include <algorithm>
#include <array>
#include <utility>

namespace larkmoor::camera
{

namespace
{

constexpr int kLargestExtent = 2040;
constexpr std::uint8_t kRestartType = 64;
constexpr std::uint8_t kTablesInBand = 255;
constexpr std::uint8_t kMeaninglessQ = 127;
constexpr int kQualityOfUnknownQ = 99;
constexpr std::size_t kSizeInFrame = 1; // height and width in SOF0, behind the sample precision

std::uint8_t SizeField(int extent, bool unknown)
{
    return unknown || extent > kLargestExtent ? std::uint8_t{0} : static_cast<std::uint8_t>((extent + 7) / 8);
}

bool HasRestartHeader(const JpegFile& file, const JpegShape& shape)
{
    return shape.emptyRestart || file.RestartInterval() != 0;
}

/// All that stands before the scan's bytes in each packet, but for the offset.
Bytes HeaderOf(const EncodedFrame& frame, const JpegFile& file, const JpegShape& shape)
{
    const bool restarts = HasRestartHeader(file, shape);
    const std::uint8_t q = shape.q127 ? kMeaninglessQ
                           : shape.tablesInBand || shape.noTables
                               ? kTablesInBand
                               : static_cast<std::uint8_t>(frame.jpegQuality);
    Bytes header = {0, 0, 0, 0}; // the offset comes with each packet
    header.push_back(
        static_cast<std::uint8_t>((file.IsHalfHeight() ? 1 : 0) + (restarts ? kRestartType : 0)));
    header.push_back(q);
    header.push_back(SizeField(file.Width(), shape.noSize));
    header.push_back(SizeField(file.Height(), shape.noSize));
    if (restarts)
    {
        AppendNumber(header, static_cast<std::size_t>(file.RestartInterval()), 2);
        AppendNumber(header, 0xFFFF, 2); // whole intervals are not told apart
    }
    return header;
}

} // namespace

CutPicture CutMpeg4(std::shared_ptr<const EncodedFrame> frame, std::size_t payloadBytes)
{
    CutPicture cut;
    for (std::span<const std::uint8_t> rest(frame->bytes); !rest.empty();)
    {
        RtpPayload payload;
        payload.shared = rest.first(std::min(rest.size(), payloadBytes));
        rest = rest.subspan(payload.shared.size());
        payload.marker = rest.empty();
        cut.payloads.push_back(payload);
    }
    cut.owners.push_back(std::move(frame));
    return cut;
}

ExpectedFrame ExpectMpeg4(const EncodedFrame& frame)
{
    return {frame.bytes, frame.key};
}

CutPicture CutJpeg(std::shared_ptr<const EncodedFrame> frame, const JpegShape& shape)
{
    CutPicture cut;
    JpegFile file;
    if (!file.Read(frame->bytes))
        return cut;
    Bytes header = HeaderOf(*frame, file, shape);
    for (std::size_t offset = 0; offset < file.scan.size();)
    {
        for (std::size_t i = 0; i < 3; ++i)
            header[1 + i] = static_cast<std::uint8_t>(offset >> (16 - 8 * i));
        RtpPayload payload;
        std::size_t room = shape.payloadBytes - header.size();
        if (offset == 0 && header[5] == kTablesInBand)
        {
            Bytes first = header;
            AppendNumber(first, 0, 2);
            AppendNumber(first, shape.tablesInBand ? file.tables[0].size() + file.tables[1].size() : 0, 2);
            if (shape.tablesInBand)
            {
                Append(first, file.tables[0]);
                Append(first, file.tables[1]);
            }
            room = std::min(shape.payloadBytes - std::min(shape.payloadBytes - 1, first.size()),
                            file.scan.size());
            Append(first, file.scan.first(room));
            auto kept = std::make_shared<const Bytes>(std::move(first));
            payload.shared = *kept;
            cut.owners.push_back(std::move(kept));
            offset += room;
        }
        else
        {
            std::copy(header.begin(), header.end(), payload.own.begin());
            payload.ownBytes = static_cast<std::uint8_t>(header.size());
            payload.shared = file.scan.subspan(offset, std::min(room, file.scan.size() - offset));
            offset += payload.shared.size();
        }
        payload.marker = offset == file.scan.size();
        cut.payloads.push_back(payload);
    }
    cut.owners.push_back(std::move(frame));
    return cut;
}

std::optional<ExpectedFrame> ExpectJpeg(const EncodedFrame& frame, const JpegShape& shape)
{
    JpegFile file;
    if (!file.Read(frame.bytes))
        return std::nullopt;
    const bool unknownQ = shape.q127 || (shape.noTables && !shape.tablesInBand);
    const Bytes others = unknownQ ? JpegTables(kQualityOfUnknownQ) : Bytes();
    ExpectedFrame expected{{}, true};
    Bytes& bytes = expected.bytes;
    Append(bytes, file.application);
    Append(bytes, file.restartSegment);
    for (std::size_t i = 0; i < 2; ++i)
    {
        Append(bytes, std::array<std::uint8_t, 5>{0xFF, 0xDB, 0, 67, static_cast<std::uint8_t>(i)});
        Append(bytes, unknownQ ? std::span<const std::uint8_t>(others).subspan(64 * i, 64) : file.tables[i]);
    }
    Append(bytes, std::array<std::uint8_t, 4>{0xFF, 0xC0, 0, 17});
    const std::size_t at = bytes.size() + kSizeInFrame;
    Append(bytes, file.frame);
    const int extents[] = {file.Height(), file.Width()};
    for (std::size_t i = 0; i < 2; ++i)
    {
        if (extents[i] > kLargestExtent || shape.noSize)
            continue; // the receiver knows the true one
        const int whole = (extents[i] + 7) / 8 * 8;
        bytes[at + 2 * i] = static_cast<std::uint8_t>(whole >> 8);
        bytes[at + 2 * i + 1] = static_cast<std::uint8_t>(whole);
    }
    for (const auto segment : file.codes)
        Append(bytes, segment);
    Append(bytes, file.scan);
    Append(bytes, std::array<std::uint8_t, 2>{0xFF, 0xD9});
    return expected;
}

} // namespace larkmoor::camera
