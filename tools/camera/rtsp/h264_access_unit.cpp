#include "camera/rtsp/h264_access_unit.h"

#include "base/annexb.h"
#include "base/text.h"

#include <algorithm>
#include <array>

namespace larkmoor::camera
{

namespace
{

constexpr std::uint8_t kStapA = 24;
constexpr std::uint8_t kFuA = 28;
constexpr std::uint8_t kFuStart = 0x80;
constexpr std::uint8_t kFuEnd = 0x40;
constexpr std::uint8_t kImportance = 0x60; // nal_ref_idc
constexpr std::uint8_t kTypeBits = 0x1F;
constexpr std::size_t kFuHeaderBytes = 2;
constexpr std::uint8_t kStampUnit = 23; // nal_ref_idc 0; a type that decoders ignore (ITU-T H.264, 7.4.1)

// primary_pic_type 1: slices of type I and P (ITU-T H.264, table 7-5).
constexpr std::array<std::uint8_t, 2> kDelimiter = {kNalAccessUnitDelimiter, 0x30};

// A user_data_unregistered message (ITU-T H.264, D.1.7): 16 bytes that name the kind, and 4 of content.
constexpr std::array<std::uint8_t, 24> kInfoUnit = {kNalSei, 5,    20,   0x4C, 0x61, 0x72, 0x6B, 0x6D,
                                                    0x6F,    0x6F, 0x72, 0x43, 0x61, 0x6D, 0x65, 0x72,
                                                    0x61,    0x30, 0x31, 'i',  'n',  'f',  'o',  0x80};

constexpr std::array<std::uint8_t, 3> kStartCode = {0, 0, 1};
constexpr std::array<std::uint8_t, 5> kFrameEnd = {0, 0, 1, 9, 0x30};
constexpr std::size_t kKeySearchBytes = 64;
constexpr std::size_t kLeastSingleBytes = 3;

void AppendUnit(Bytes& frame, std::span<const std::uint8_t> unit)
{
    Append(frame, kStartCode);
    Append(frame, unit);
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

H264AccessUnit::H264AccessUnit(std::shared_ptr<const EncodedFrame> frame, const H264Shape& shape,
                               std::string_view stamp)
    : payloadBytes_(shape.payloadBytes)
{
    owners_.push_back(frame);
    if (shape.delimiters)
        Add(kDelimiter);
    if (frame->key && shape.setsInBand)
    {
        const std::array<std::span<const std::uint8_t>, 2> sets = {frame->parameterSets->sps,
                                                                   frame->parameterSets->pps};
        if (shape.aggregate)
            AddAggregate(sets);
        else
            std::for_each(sets.begin(), sets.end(), [this](auto set) { Add(set); });
    }
    if (shape.infoUnits)
        Add(kInfoUnit);
    for (const NalUnit& unit : frame->units)
        Add(frame->Unit(unit));
    if (!stamp.empty())
    {
        Bytes unit{kStampUnit};
        Append(unit, AsBytes(stamp));
        Add(Keep(std::move(unit)));
    }
    if (!payloads_.empty())
        payloads_.back().marker = true;
}

std::span<const std::uint8_t> H264AccessUnit::Keep(Bytes bytes)
{
    auto kept = std::make_shared<const Bytes>(std::move(bytes));
    owners_.push_back(kept);
    return *kept;
}

void H264AccessUnit::Add(std::span<const std::uint8_t> unit)
{
    if (unit.size() <= payloadBytes_)
        AddSingle(unit);
    else
        AddFragments(unit);
}

void H264AccessUnit::AddSingle(std::span<const std::uint8_t> unit)
{
    units_.push_back({SentUnit::Way::Single, unit, payloads_.size(), payloads_.size()});
    RtpPayload payload;
    payload.shared = unit;
    payloads_.push_back(payload);
}

void H264AccessUnit::AddFragments(std::span<const std::uint8_t> unit)
{
    const std::size_t first = payloads_.size();
    const std::uint8_t nalHeader = unit[0];
    std::uint8_t place = kFuStart;
    for (auto rest = unit.subspan(1); !rest.empty();)
    {
        const std::size_t size = std::min(rest.size(), payloadBytes_ - kFuHeaderBytes);
        if (size == rest.size())
            place |= kFuEnd;
        RtpPayload payload;
        payload.own[0] = static_cast<std::uint8_t>((nalHeader & ~kTypeBits) | kFuA);
        payload.own[1] = static_cast<std::uint8_t>(place | (nalHeader & kTypeBits));
        payload.ownBytes = kFuHeaderBytes;
        payload.shared = rest.first(size);
        payloads_.push_back(payload);
        rest = rest.subspan(size);
        place = 0;
    }
    units_.push_back({SentUnit::Way::Fragmented, unit, first, payloads_.size() - 1});
}

void H264AccessUnit::AddAggregate(std::span<const std::span<const std::uint8_t>> units)
{
    std::size_t size = 1;
    std::uint8_t importance = 0; // the highest of those inside (RFC 6184, 5.7)
    for (const auto unit : units)
    {
        size += 2 + unit.size();
        importance = std::max<std::uint8_t>(importance, unit[0] & kImportance);
    }
    if (size > payloadBytes_)
    {
        std::for_each(units.begin(), units.end(), [this](auto unit) { Add(unit); });
        return;
    }
    Bytes packet{static_cast<std::uint8_t>(importance | kStapA)};
    for (const auto unit : units)
    {
        units_.push_back({SentUnit::Way::Aggregated, unit, payloads_.size(), payloads_.size()});
        AppendNumber(packet, unit.size(), 2);
        Append(packet, unit);
    }
    RtpPayload payload;
    payload.shared = Keep(std::move(packet));
    payloads_.push_back(payload);
}

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
    Append(frame.bytes, kFrameEnd);
    frame.key = OpensWithSequenceSet(frame.bytes);
    if (damaged && !frame.key)
        return std::nullopt;
    return frame;
}

} // namespace larkmoor::camera
