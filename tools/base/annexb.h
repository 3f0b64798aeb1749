#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace larkmoor
{

/// A NAL unit's place in its byte stream, without its start code.
struct NalUnit
{
    std::size_t offset = 0;
    std::size_t size = 0;
};

/// H.264 nal_unit_type values (ITU-T H.264, table 7-1) that the tools treat apart.
enum NalType : std::uint8_t
{
    kNalSlice = 1,
    kNalIdrSlice = 5,
    kNalSei = 6,
    kNalSps = 7,
    kNalPps = 8,
    kNalAccessUnitDelimiter = 9,
};

inline NalType NalTypeOf(std::uint8_t firstByte)
{
    return static_cast<NalType>(firstByte & 0x1F);
}

/// Where the next start code, 00 00 01, begins at `from` or behind it; the stream's size if there is none.
std::size_t FindStartCode(std::span<const std::uint8_t> stream, std::size_t from);

/// The NAL units of an Annex B byte stream (ITU-T H.264, B.1), in order, each behind a start code of three
/// bytes or more and without its trailing zero bytes. Bytes before the first start code are skipped.
std::vector<NalUnit> SplitAnnexB(std::span<const std::uint8_t> stream);

} // namespace larkmoor
