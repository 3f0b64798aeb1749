#pragma once

#include "host/recording/frame_writer.h"
#include "host/recording/sound_decoder.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace larkmoor::host
{

/// How loud the sound is.
class LevelMeter final : public IFrameWriter
{
public:
    static constexpr double kSilence = -96; ///< in dB, the least that is told

    void Write(const Frame& frame) override;
    void Finish() override {}

    /// The loudest sample since the last call, in dB of full scale; that of before while nothing has come.
    /// Any thread.
    double TakePeak();

private:
    std::unique_ptr<SoundDecoder> decoder_; // for frames like `format_`
    std::uint32_t format_ = 0;
    std::uint32_t bitRate_ = 0;
    std::mutex lock_; // over all below
    std::optional<int> loudest_;
    double last_ = kSilence;
};

/// A bar with a figure behind it, as "[=====     ] -12 dB".
std::string LevelBar(double decibels);

} // namespace larkmoor::host
