#pragma once

#include "parsers/rtp_media_parser.h"

namespace korvane
{

/// Builds H.264 Annex B frames from RTP packets of RFC 6184: one frame for each run of packets up to a marker
/// bit, each NAL unit behind a three-byte start code, an access unit delimiter at the end.
///
/// A frame with a sequence parameter set near its start is a key frame, and gives the picture size; until
/// one has been seen, no frame is delivered. Takes single NAL units, STAP-A and FU-A, of any payload type.
class CH264RTPMediaParser : public CRTPMediaParser
{
public:
    using CRTPMediaParser::CRTPMediaParser;

    void ResetParser() override;

protected:
    bool AddPayload(Bytes payload) override;
    void CompleteFrame(std::uint32_t timestamp) override;

private:
    bool AddSingleUnit(Bytes payload);
    bool AddAggregate(Bytes payload);
    bool AddFragment(Bytes payload);
    void AddParameterSets();
    void AddUnit(Bytes unit);
    bool ReadKeyFrame();
};

} // namespace korvane
