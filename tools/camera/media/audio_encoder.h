#pragma once

#include "camera/media/audio_settings.h"
#include "camera/media/encoded_frame.h"

#include <cstdint>
#include <memory>
#include <span>

namespace larkmoor::camera
{

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
