#pragma once

#include "parsers/mp4_parser.h"
#include "parsers/rtp_media_parser.h"

namespace korvane
{

/// Builds frames of an MPEG-4 Part 2 elementary stream from RTP packets of RFC 6416: one frame for each run
/// of packets from a picture's start code up to a marker bit.
///
/// An intra picture is a key frame, of the format "DIVX"; the configuration that the stream last sent goes in
/// front of it and gives the picture size. Until one has been seen, no frame is delivered. What the stream's
/// description says of the configuration isn't used.
class CMpeg4RTPMediaParser : public CRTPMediaParser
{
public:
    CMpeg4RTPMediaParser(IDriver* driver, std::string driverName);

    void OnPacket(CRTPPacket& packet) override;
    void ResetParser() override; ///< keeps the configuration

private:
    void AddPayload(std::span<const std::uint8_t> payload);
    void CompleteFrame(std::uint32_t timestamp);

    bool waitingForKey_ = true;
    bool isKey_ = false; // the frame in hand began with an intra picture
    CMP4Parser stream_;
};

} // namespace korvane
