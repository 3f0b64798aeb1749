#pragma once

#include "camera/media/encoded_frame.h"

namespace larkmoor::camera
{

/// H.264 nal_unit_type values (ITU-T H.264, table 7-1) that the camera treats apart.
enum NalType : std::uint8_t
{
    kNalSlice = 1,
    kNalIdrSlice = 5,
    kNalSei = 6,
    kNalSps = 7,
    kNalPps = 8,
    kNalAccessUnitDelimiter = 9,
    kNalFiller = 12,
};

inline NalType NalTypeOf(std::uint8_t firstByte)
{
    return static_cast<NalType>(firstByte & 0x1F);
}

/// The NAL units of an Annex B byte stream (ITU-T H.264, B.1), in order, each behind a start code of three
/// bytes or more and without its trailing zero bytes. Bytes before the first start code are skipped.
std::vector<NalUnit> SplitAnnexB(std::span<const std::uint8_t> stream);

} // namespace larkmoor::camera
