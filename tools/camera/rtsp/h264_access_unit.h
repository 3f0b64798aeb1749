#pragma once

#include "camera/rtsp/rtp_packet_batch.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace larkmoor::camera
{

/// How access units are put together and cut into packets.
struct H264Shape
{
    std::size_t payloadBytes = 1388; ///< largest RTP payload
    bool setsInBand = true;          ///< parameter sets stand in front of each key picture
    bool aggregate = false;          ///< these sets travel in one STAP-A packet
    bool delimiters = false;         ///< an access unit delimiter opens the access unit
    bool infoUnits = false;          ///< an SEI unit stands before the slices
};

/// A NAL unit with the packets that carry it.
struct SentUnit
{
    enum class Way
    {
        Single,     ///< RFC 6184, 5.6: the packet's payload is the unit
        Aggregated, ///< RFC 6184, 5.7.1: one of several in a STAP-A packet
        Fragmented, ///< RFC 6184, 5.8: in pieces, FU-A
    };

    Way way = Way::Single;
    std::span<const std::uint8_t> bytes; ///< without start code
    std::size_t firstPacket = 0;
    std::size_t lastPacket = 0; ///< the same as the first but for Fragmented
};

/// One access unit as it goes over the wire: its NAL units in order, and the payloads of its packets (RFC
/// 6184, packetization-mode 1). Payloads share the frame's bytes, which Owners keeps alive.
class H264AccessUnit
{
public:
    /// `stamp`, if not empty, travels as the last unit, of type 23; see docs/frame-stamp.md.
    H264AccessUnit(std::shared_ptr<const EncodedFrame> frame, const H264Shape& shape, std::string_view stamp);

    const std::vector<SentUnit>& Units() const { return units_; }
    const std::vector<RtpPayload>& Payloads() const { return payloads_; } ///< the last one has the marker
    const std::vector<std::shared_ptr<const void>>& Owners() const { return owners_; }

private:
    std::span<const std::uint8_t> Keep(Bytes bytes);
    void Add(std::span<const std::uint8_t> unit);
    void AddSingle(std::span<const std::uint8_t> unit);
    void AddFragments(std::span<const std::uint8_t> unit);
    void AddAggregate(std::span<const std::span<const std::uint8_t>> units);

    std::size_t payloadBytes_;
    std::vector<SentUnit> units_;
    std::vector<RtpPayload> payloads_;
    std::vector<std::shared_ptr<const void>> owners_;
};

/// The frame that a right receiver hands to its host for an access unit that arrives whole.
struct ExpectedFrame
{
    Bytes bytes;
    bool key = false; ///< a sequence parameter set stands near its start
};

/// Works out that frame from the units and the way that each of them travels, not from the packets: it checks
/// the cutting into packets as well. `described` are the parameter sets that the description told, empty
/// where it did not. The rules:
/// - Each unit stands behind the start code 00 00 01, and 00 00 01 09 30 ends the frame.
/// - An IDR slice that would open the frame gets the described sets in front, if both are known.
/// - A fragmented slice that is not of an IDR picture opens the frame anew: units before it are lost.
/// - A unit of fewer than 3 bytes in a packet of its own is taken for damage: what was before it is lost, and
/// the
///   frame is handed on only if it is a key frame. Then there may be no frame at all.
std::optional<ExpectedFrame> WorkOutFrame(const std::vector<SentUnit>& units, const ParameterSets& described);

} // namespace larkmoor::camera
