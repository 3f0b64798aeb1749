#pragma once

#include <cstdint>

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

} // namespace larkmoor::camera
