#include "parsers/h264_rtp_media_parser.h"

#include <algorithm>
#include <array>

#include "parsers/picture_size.h"
#include "runtime/byte_order.h"

namespace korvane
{

namespace
{

// NAL unit types of ITU-T H.264, table 7-1, and packet kinds of RFC 6184, table 1.
constexpr std::uint8_t kTypeBits = 0x1F;
constexpr std::uint8_t kSliceIdr = 5;
constexpr std::uint8_t kSei = 6;
constexpr std::uint8_t kSps = 7;
constexpr std::uint8_t kPps = 8;
constexpr std::uint8_t kLastSingle = 23;
constexpr std::uint8_t kStapA = 24;
constexpr std::uint8_t kFuA = 28;
constexpr std::uint8_t kFragmentStart = 0x80;

constexpr std::size_t kLeastSingle = 3;
constexpr std::size_t kLeastAggregate = 4;
constexpr std::size_t kLeastFragment = 3;
constexpr std::size_t kFragmentHeaderBytes = 2;
constexpr std::size_t kUnitSizeBytes = 2;

// Some cameras set the marker on the small units ahead of a picture too; larger ones are pictures' own.
constexpr std::size_t kMaxUnitWithIdleMarker = 128;
constexpr std::size_t kKeySearchBytes = 64;

constexpr std::array<std::uint8_t, 3> kStartCode = {0, 0, 1};
constexpr std::array<std::uint8_t, 5> kAccessUnitDelimiter = {0, 0, 1, 9, 0x30};

std::uint8_t TypeOf(std::uint8_t header)
{
    return header & kTypeBits;
}

} // namespace

void CH264RTPMediaParser::ResetParser()
{
    CRTPMediaParser::ResetParser();
    converter_.Reset();
}

bool CH264RTPMediaParser::AddPayload(Bytes payload)
{
    const std::uint8_t kind = payload.empty() ? 0 : TypeOf(payload[0]);
    const bool isAdded = kind == kFuA     ? AddFragment(payload)
                         : kind == kStapA ? AddAggregate(payload)
                                          : kind >= 1 && kind <= kLastSingle && AddSingleUnit(payload);
    if (!isAdded)
        ResetParser();
    return isAdded;
}

bool CH264RTPMediaParser::AddSingleUnit(Bytes payload)
{
    if (payload.size() < kLeastSingle)
        return false;
    const std::uint8_t type = TypeOf(payload[0]);
    if (type == kSliceIdr && frameBuffer_.empty())
        AddParameterSets();
    if (type == kSei || type == kSps || type == kPps)
        markerMayEnd_ = payload.size() > kMaxUnitWithIdleMarker;
    AddUnit(payload);
    return true;
}

//  | STAP-A header | size of unit, 16 bits | unit | size | unit | ...
bool CH264RTPMediaParser::AddAggregate(Bytes payload)
{
    if (payload.size() < kLeastAggregate)
        return false;
    Bytes rest = payload.subspan(1);
    while (rest.size() >= kUnitSizeBytes)
    {
        const std::size_t size = Utils::LoadBigEndian16(rest.data());
        rest = rest.subspan(kUnitSizeBytes);
        if (size > rest.size())
            return false;
        if (!rest.empty())
            AddUnit(rest.first(size));
        rest = rest.subspan(size);
    }
    return true;
}

//  | F NRI type 28 | S E R type of the unit | fragment ...
bool CH264RTPMediaParser::AddFragment(Bytes payload)
{
    if (payload.size() < kLeastFragment)
        return false;
    if ((payload[1] & kFragmentStart) != 0)
    {
        const std::uint8_t type = TypeOf(payload[1]);
        if (type != kSliceIdr)
            frameBuffer_.clear();
        else if (frameBuffer_.empty())
            AddParameterSets();
        const auto header = static_cast<std::uint8_t>((payload[0] & ~kTypeBits) | type);
        AddUnit({&header, 1});
    }
    Append(payload.subspan(kFragmentHeaderBytes));
    return true;
}

void CH264RTPMediaParser::AddParameterSets()
{
    if (parameterSets_.SPS.empty() || parameterSets_.PPS.empty())
        return;
    AddUnit(parameterSets_.SPS);
    AddUnit(parameterSets_.PPS);
}

void CH264RTPMediaParser::AddUnit(Bytes unit)
{
    Append(kStartCode);
    Append(unit);
}

void CH264RTPMediaParser::CompleteFrame(std::uint32_t timestamp)
{
    if (!CanDeliver())
        return;
    converter_.Convert(timestamp);
    Append(kAccessUnitDelimiter);

    const bool isKey = ReadKeyFrame();
    if (isKey)
        waitingForKey_ = false;
    else if (waitingForKey_)
        return;
    DeliverFrame(isKey ? ipcapture::kFormatH264Key : ipcapture::kFormatH264Delta);
}

/// Takes the picture size from a sequence parameter set near the frame's start. False when there is none.
bool CH264RTPMediaParser::ReadKeyFrame()
{
    const Bytes frame(frameBuffer_);
    const Bytes start = frame.first(std::min(frame.size(), kKeySearchBytes));
    for (auto at = start.begin();; ++at)
    {
        at = std::search(at, start.end(), kStartCode.begin(), kStartCode.end());
        const auto header = static_cast<std::size_t>(at - start.begin()) + kStartCode.size();
        if (header >= start.size())
            return false;
        if (TypeOf(start[header]) != kSps)
            continue;
        const auto size = ReadPictureSize(frame.subspan(header + 1));
        if (!size)
            return false;
        width_ = size->width;
        height_ = size->height;
        return true;
    }
}

} // namespace korvane
