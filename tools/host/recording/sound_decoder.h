#pragma once

#include "host/contract/frame.h"
#include "host/recording/libav.h"

#include <cstdint>
#include <span>
#include <vector>

namespace larkmoor::host
{

/// Decodes the sound of one stream. One thread.
class SoundDecoder
{
public:
    /// For frames like this one. Throws `Failure` (Output) for a format that there is no decoder for.
    explicit SoundDecoder(const FrameInfo& info);

    /// The samples of a frame, those of both channels in turn; of what can't be decoded none.
    std::vector<std::int16_t> Decode(std::span<const std::uint8_t> bytes);

private:
    void Receive(std::vector<std::int16_t>& samples);

    LibavCodecContext context_;
    LibavPacket packet_{av_packet_alloc()};
    LibavFrame frame_{av_frame_alloc()};
};

} // namespace larkmoor::host
