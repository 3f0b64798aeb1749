#include "camera/media/melody.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace larkmoor::camera
{
namespace
{

constexpr double kLevel = 12000; // of 32767: far from the limit that codecs clip at
constexpr double kFadeSeconds = 0.008;

} // namespace

Melody::Melody(std::chrono::system_clock::time_point start, std::uint32_t sampleRate)
    : sampleRate_(sampleRate)
{
    const std::chrono::microseconds period = kNoteTime * kNotes.size();
    const auto into =
        std::chrono::duration_cast<std::chrono::microseconds>(start.time_since_epoch()) % period;
    offset_ = static_cast<std::uint64_t>(into.count()) * sampleRate / 1'000'000;
}

std::int16_t Melody::Sample(std::uint64_t index) const
{
    const std::uint64_t perNote = sampleRate_ * static_cast<std::uint64_t>(kNoteTime.count()) / 1000;
    const std::uint64_t at = index + offset_;
    const double seconds = static_cast<double>(at % perNote) / sampleRate_;
    const double left = static_cast<double>(perNote - at % perNote) / sampleRate_;
    const double fade = std::min({seconds / kFadeSeconds, left / kFadeSeconds, 1.0});
    const double note = kNotes[at / perNote % kNotes.size()];
    return static_cast<std::int16_t>(
        std::lround(kLevel * fade * std::sin(2 * std::numbers::pi * note * seconds)));
}

} // namespace larkmoor::camera
