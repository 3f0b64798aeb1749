#pragma once

#include "camera/media/encoded_frame.h"

#include <cstdint>
#include <memory>
#include <span>

namespace larkmoor::camera
{

enum class AudioCodec
{
    G711MuLaw,
    G711ALaw,
    G726,
    Aac,
};

/// How sound is to be encoded, one channel of it. A change of codec, or of the bit rate of G.726, needs a new
/// description; all others happen in mid-stream.
struct AudioSettings
{
    AudioCodec codec = AudioCodec::G711MuLaw;
    std::uint32_t bitRate = 64000; ///< bit/s: G.711 64000; G.726 16000, 24000, 32000 or 40000; AAC any usual
    bool muted = false;            ///< the input gives silence

    /// Samples a second: 8000, and 44100 for AAC.
    std::uint32_t SampleRate() const { return codec == AudioCodec::Aac ? 44100 : 8000; }

    /// Whether a description of the one holds for the other.
    bool IsDescribedAs(const AudioSettings& other) const
    {
        return codec == other.codec && (codec != AudioCodec::G726 || bitRate == other.bitRate);
    }

    bool operator==(const AudioSettings&) const = default;
};

/// Encodes sound, piece by piece. One thread.
class AudioEncoder
{
public:
    /// Null if there is no encoder for the settings.
    static std::unique_ptr<AudioEncoder> Open(const AudioSettings& settings);

    virtual ~AudioEncoder() = default;

    /// Samples in each piece: 20 ms, or an AAC frame.
    virtual std::size_t PieceSamples() const = 0;

    /// The next piece. G.711 and G.726: its bytes, G.726 packed from the least significant bit on (RFC 3551,
    /// 4.5.4). AAC: an access unit, of the piece before; empty for the first one.
    virtual Bytes Encode(std::span<const std::int16_t> samples) = 0;

    /// AAC: the AudioSpecificConfig (ISO/IEC 14496-3, 1.6.2.1). Otherwise empty.
    virtual Bytes Config() const = 0;
};

} // namespace larkmoor::camera
