#pragma once

#include "camera/fault/fault_plan.h"
#include "camera/media/audio_stream.h"
#include "camera/rtsp/rtp_packet_batch.h"

#include <cstddef>
#include <string>

namespace larkmoor::camera
{

/// How a codec goes over RTP.
struct AudioFormat
{
    const char* kind;         ///< how the truth calls it
    std::uint8_t payloadType; ///< RFC 3551, table 4, or a dynamic one
    const char* encoding;     ///< of the description
};
const AudioFormat& FormatOf(AudioCodec codec);

/// Cuts sound into RTP payloads: G.711 and G.726 as they are (RFC 3551, 4.5), AAC in the high bit-rate mode
/// with one access unit behind each AU header section (RFC 3640, 3.3.6). One stream, one thread.
class AudioPackets
{
public:
    /// `payloadBytes` is the size of the largest payload. `faults` outlives the object.
    AudioPackets(const FaultPlan& faults, std::size_t payloadBytes)
        : faults_(faults), payloadBytes_(payloadBytes)
    {
    }

    /// The payloads of the next piece; `owner` keeps their bytes. Access units come in odd ways while the
    /// fault aac-odd says so, two of them together at the second one.
    std::vector<RtpPayload> Make(const AudioPiece& piece, std::shared_ptr<const void>& owner);

private:
    static Bytes HeaderOf(std::size_t unitBytes);
    std::vector<Bytes> MakeOdd(const Bytes& unit, std::string_view way);
    std::vector<Bytes> Fragments(const Bytes& unit, std::size_t most) const;

    const FaultPlan& faults_;
    const std::size_t payloadBytes_;
    Bytes waiting_; ///< the first of two units that are to come together
};

} // namespace larkmoor::camera
