#pragma once

#include "parsers/rtp_media_parser.h"

namespace korvane
{

/// Keeps the configuration of an MPEG-4 Part 2 stream: the bytes from its visual object sequence start code
/// up to the first picture. One thread; no lock.
class CMP4Parser
{
public:
    virtual ~CMP4Parser() = default;

    /// Takes the configuration out of the start of `payload`, in place of an earlier one, and gives its
    /// length in bytes. 0 when `payload` doesn't begin with one or no picture follows in it: then nothing is
    /// kept.
    std::size_t TakeConfig(std::span<const std::uint8_t> payload);

    std::span<const std::uint8_t> Config() const { return config_; } ///< empty before the first

private:
    std::vector<std::uint8_t> config_;
};

/// Builds frames of an MPEG-4 Part 2 elementary stream from RTP packets of RFC 6416: one frame for each run
/// of packets from a picture's start code up to a marker bit.
///
/// An intra picture is a key frame, of the format "DIVX"; the configuration that the stream last sent goes in
/// front of it and gives the picture size. Until one has been seen, no frame is delivered. What the stream's
/// description says of the configuration isn't used.
class CMpeg4RTPMediaParser : public CRTPMediaParser
{
public:
    using CRTPMediaParser::CRTPMediaParser;

    void ResetParser() override; ///< keeps the configuration

protected:
    bool AddPayload(Bytes payload) override;
    void CompleteFrame(std::uint32_t timestamp) override;

private:
    bool isKey_ = false; // the frame in hand began with an intra picture
    CMP4Parser stream_;
};

} // namespace korvane
