#include "camera/rtsp/h264_truth.h"

#include "base/annexb.h"

#include <algorithm>
#include <array>

namespace larkmoor::camera
{
namespace
{

constexpr std::array<std::uint8_t, 3> kStartCode = {0, 0, 1};
constexpr std::array<std::uint8_t, 5> kFrameEnd = {0, 0, 1, 9, 0x30};
constexpr std::size_t kKeySearchBytes = 64;
constexpr std::size_t kLeastSingleBytes = 3;

void AppendUnit(Bytes& frame, std::span<const std::uint8_t> unit)
{
    frame.insert(frame.end(), kStartCode.begin(), kStartCode.end());
    frame.insert(frame.end(), unit.begin(), unit.end());
}

bool OpensWithSequenceSet(std::span<const std::uint8_t> frame)
{
    const auto head = frame.first(std::min(frame.size(), kKeySearchBytes));
    for (const NalUnit& unit : SplitAnnexB(head))
    {
        if (NalTypeOf(head[unit.offset]) == kNalSps)
            return true;
    }
    return false;
}

} // namespace

std::optional<ExpectedFrame> WorkOutFrame(const std::vector<SentUnit>& units, const ParameterSets& described)
{
    ExpectedFrame frame;
    bool damaged = false;
    for (const SentUnit& unit : units)
    {
        const bool isIdr = NalTypeOf(unit.bytes[0]) == kNalIdrSlice;
        if (unit.way == SentUnit::Way::Single && unit.bytes.size() < kLeastSingleBytes)
        {
            frame.bytes.clear();
            damaged = true;
            continue;
        }
        if (unit.way == SentUnit::Way::Fragmented && !isIdr)
            frame.bytes.clear();
        if (unit.way != SentUnit::Way::Aggregated && isIdr && frame.bytes.empty() && !described.sps.empty() &&
            !described.pps.empty())
        {
            AppendUnit(frame.bytes, described.sps);
            AppendUnit(frame.bytes, described.pps);
        }
        AppendUnit(frame.bytes, unit.bytes);
    }
    if (frame.bytes.empty())
        return std::nullopt;
    frame.bytes.insert(frame.bytes.end(), kFrameEnd.begin(), kFrameEnd.end());
    frame.key = OpensWithSequenceSet(frame.bytes);
    if (damaged && !frame.key)
        return std::nullopt;
    return frame;
}

} // namespace larkmoor::camera
