#include "camera/rtsp/audio_packets.h"

#include <algorithm>
#include <utility>

namespace larkmoor::camera
{
namespace
{

constexpr std::size_t kSmallestPiece = 32; // of an access unit that is split on purpose

} // namespace

const AudioFormat& FormatOf(AudioCodec codec)
{
    static constexpr AudioFormat kFormats[] = {
        {"pcmu", 0, "PCMU"}, {"pcma", 8, "PCMA"}, {"g726", 97, "G726"}, {"aac", 97, "mpeg4-generic"}};
    return kFormats[static_cast<std::size_t>(codec)];
}

/// AU-headers-length, 16 bits, and one AU header: 13 bits of size, 3 of index (RFC 3640, 3.2.1).
Bytes AudioPackets::HeaderOf(std::size_t unitBytes)
{
    return {0, 16, static_cast<std::uint8_t>(unitBytes >> 5), static_cast<std::uint8_t>(unitBytes << 3)};
}

/// Each with the header of the whole unit (RFC 3640, 3.2.3).
std::vector<Bytes> AudioPackets::Fragments(const Bytes& unit, std::size_t most) const
{
    std::vector<Bytes> payloads;
    for (std::size_t at = 0; at < unit.size(); at += most)
    {
        Bytes payload = HeaderOf(unit.size());
        const auto from = unit.begin() + static_cast<std::ptrdiff_t>(at);
        payload.insert(payload.end(), from,
                       from + static_cast<std::ptrdiff_t>(std::min(most, unit.size() - at)));
        payloads.push_back(std::move(payload));
    }
    return payloads;
}

std::vector<Bytes> AudioPackets::MakeOdd(const Bytes& unit, std::string_view way)
{
    Bytes payload = HeaderOf(unit.size());
    if (way == "split") // the rest without a header
    {
        const auto half = unit.begin() + static_cast<std::ptrdiff_t>(unit.size() / 2);
        payload.insert(payload.end(), unit.begin(), half);
        return {payload, Bytes(half, unit.end())};
    }
    if (way == "fragments")
        return Fragments(unit, std::max(kSmallestPiece, unit.size() / 3));
    if (way == "wide") // three bytes a header, as another sizelength would have them
    {
        payload = {0, 24, 0, payload[2], payload[3]};
        Append(payload, unit);
        return {payload};
    }
    if (way == "junk")
        return {unit};
    if (waiting_.empty())
    {
        waiting_ = unit;
        return {};
    }
    const Bytes first = std::exchange(waiting_, Bytes());
    if (way == "joined") // one behind the other, each with a header section
    {
        payload = HeaderOf(first.size());
        Append(payload, first);
        Append(payload, HeaderOf(unit.size()));
    }
    else // "two": headers of 32 bits in front, then both units
    {
        const Bytes one = HeaderOf(first.size());
        payload = {0, 32, one[2], one[3], payload[2], payload[3]};
        Append(payload, first);
    }
    Append(payload, unit);
    return {payload};
}

std::vector<RtpPayload> AudioPackets::Make(const AudioPiece& piece, std::shared_ptr<const void>& owner)
{
    const bool isAac = piece.settings.codec == AudioCodec::Aac;
    auto made = std::make_shared<std::vector<Bytes>>();
    if (!isAac)
        made->push_back(*piece.bytes);
    else if (const std::string way = faults_.Value("aac-odd"); !way.empty())
        *made = MakeOdd(*piece.bytes, way);
    else
        *made = Fragments(*piece.bytes, payloadBytes_ - HeaderOf(0).size());
    std::vector<RtpPayload> payloads;
    for (const Bytes& bytes : *made)
    {
        RtpPayload payload;
        payload.shared = bytes;
        payload.marker = isAac && &bytes == &made->back();
        payloads.push_back(payload);
    }
    owner = std::move(made);
    return payloads;
}

} // namespace larkmoor::camera
