#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace larkmoor::camera
{

/// What the microphones hear: a scale of pure notes, over and over, in step with the clock on the wall, so
/// that a recording tells by its sound when each part of it was made.
class Melody
{
public:
    static constexpr std::chrono::milliseconds kNoteTime{500};

    /// C5 to C6 in Hz, equal temperament from A4 = 440.
    static constexpr std::array<double, 8> kNotes = {523.251, 587.330, 659.255, 698.456,
                                                     783.991, 880.000, 987.767, 1046.502};

    /// Sampled from `start` on; note 0 sounds when the seconds since 1970 divide by 4.
    Melody(std::chrono::system_clock::time_point start, std::uint32_t sampleRate);

    std::int16_t Sample(std::uint64_t index) const;

private:
    const std::uint32_t sampleRate_;
    std::uint64_t offset_; // samples of the melody before the first one
};

} // namespace larkmoor::camera
