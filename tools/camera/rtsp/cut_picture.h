#pragma once

#include "camera/rtsp/h264_access_unit.h"
#include "camera/rtsp/rtp_packet_batch.h"

#include <memory>
#include <optional>
#include <vector>

namespace larkmoor::camera
{

/// A picture as it goes over the wire: the payloads of its packets, the last one with the marker, and whoever
/// keeps their bytes alive.
struct CutPicture
{
    std::vector<RtpPayload> payloads;
    std::vector<std::shared_ptr<const void>> owners;
};

/// The pieces of an MPEG-4 Part 2 elementary stream (RFC 6416, section 5), `payloadBytes` at most each.
CutPicture CutMpeg4(std::shared_ptr<const EncodedFrame> frame, std::size_t payloadBytes);

/// The frame that a right receiver hands to its host for it: as it was encoded, key pictures with the headers
/// that stand in front of them.
ExpectedFrame ExpectMpeg4(const EncodedFrame& frame);

/// How Motion JPEG travels (RFC 2435).
struct JpegShape
{
    std::size_t payloadBytes = 1388;
    bool tablesInBand = false; ///< Q 255, with the tables in each first packet; else Q is the quality
    bool q127 = false;         ///< a Q that stands for nothing
    bool noTables = false;     ///< Q 255, and a table header without tables
    bool emptyRestart = false; ///< a restart marker header with no interval
    bool noSize = false;       ///< both sizes 0, as of pictures above 2040 pixels
};

/// No payloads for a file that this format can't carry.
CutPicture CutJpeg(std::shared_ptr<const EncodedFrame> frame, const JpegShape& shape);

/// The file that a right receiver rebuilds, told from the encoder's own file: its restart interval moves to
/// the front, its size to whole blocks, and a Q without meaning counts as 99. Nothing for a file that can't
/// be carried.
std::optional<ExpectedFrame> ExpectJpeg(const EncodedFrame& frame, const JpegShape& shape);

} // namespace larkmoor::camera
