#pragma once

#include "host/contract/frame.h"
#include "host/recording/libav.h"

#include <cstdint>
#include <memory>
#include <optional>
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

/// The sound of one stream on its way into a file: in the codec that it came in where the file can hold that,
/// otherwise decoded to 16-bit samples, and at its place in time. One thread.
///
/// A frame carries the time of its delivery, which is when the last of its samples had come: it began its own
/// length before that. From the first frame on, pieces stand one behind the other without a break, as the
/// device's clock made them; only when the times say that sound is missing (or too much) by more than `kSlip`
/// does the next piece stand where its own time wants it.
class SoundTrack
{
public:
    enum class File
    {
        Wav,      ///< G.711 as it is
        Matroska, ///< G.711 and AAC as they are
        Adts,     ///< AAC only
    };

    /// A frame's sound as the file gets it.
    struct Piece
    {
        std::vector<std::uint8_t> bytes;
        std::int64_t begin = 0; ///< microseconds since 1970
        std::int64_t samples = 0;
    };

    static constexpr std::int64_t kSlip = 400'000; ///< microseconds

    /// For frames like this one. Throws `Failure` (Output) if the file can't hold them.
    SoundTrack(const FrameInfo& info, File file);

    /// Whether a frame is like those that the track was made for.
    bool Fits(const FrameInfo& info) const;

    void Describe(AVCodecParameters& parameters) const;

    Piece Make(const FrameInfo& info, std::span<const std::uint8_t> bytes);

    /// Cuts off what lies before `begin` (microseconds since 1970): single samples, or whole pieces of AAC.
    void Trim(Piece& piece, std::int64_t begin) const;

    std::uint32_t SampleRate() const { return info_.sampleRate; }
    std::uint64_t Slips() const { return slips_; } ///< breaks, by the times

private:
    std::int64_t TimeOf(std::int64_t samples) const;

    const FrameInfo info_;
    AVCodecID codec_;
    std::unique_ptr<SoundDecoder> decoder_; ///< null if the bytes stay as they are
    std::int64_t sampleBytes_ = 0;          ///< in the file; 0 for AAC
    std::optional<std::int64_t> origin_;    ///< microseconds since 1970 of the run in hand
    std::int64_t run_ = 0;                  ///< samples since then
    std::uint64_t slips_ = 0;
};

} // namespace larkmoor::host
