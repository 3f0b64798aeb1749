#pragma once

#include "parsers/rtp_media_parser.h"

namespace korvane
{

/// Rebuilds whole JPEG files from RTP packets of RFC 2435, one for each run of packets from a fragment at the
/// offset 0 up to a marker bit. The stream brings the scan alone; the file's header is written here.
///
/// Each frame is a key frame of the format `JPEG`: behind a loss the next picture is whole again, and its
/// time is not disturbed.
class CJpegRTPMediaParser : public CRTPMediaParser
{
public:
    using CRTPMediaParser::CRTPMediaParser;

protected:
    bool AddPayload(Bytes payload) override;
    void CompleteFrame(std::uint32_t timestamp) override;

private:
    void EndScan();
    std::uint32_t Rebuild(std::uint8_t* file);

    std::size_t headerBytes_ = 8; // of the later fragments
};

} // namespace korvane
