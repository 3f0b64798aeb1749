#include "host/recording/level_meter.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace larkmoor::host
{

namespace
{

constexpr std::size_t kBarWidth = 24;
constexpr double kBarRange = 48; // dB from an empty bar to a full one

} // namespace

void LevelMeter::Write(const Frame& frame)
{
    const FrameInfo& info = frame.Info();
    if (!info.isAudio)
        return;
    if (!decoder_ || format_ != info.format || bitRate_ != info.audioBitRate)
        decoder_ = std::make_unique<SoundDecoder>(info);
    format_ = info.format;
    bitRate_ = info.audioBitRate;
    int loudest = 0;
    for (const std::int16_t sample : decoder_->Decode(frame.Data()))
        loudest = std::max(loudest, std::abs(int{sample}));
    const std::lock_guard guard(lock_);
    loudest_ = std::max(loudest_.value_or(0), loudest);
}

double LevelMeter::TakePeak()
{
    const std::lock_guard guard(lock_);
    if (loudest_)
        last_ = *loudest_ == 0 ? kSilence : std::max(kSilence, 20 * std::log10(*loudest_ / 32768.0));
    loudest_.reset();
    return last_;
}

std::string LevelBar(double decibels)
{
    const double part = std::clamp(1 + decibels / kBarRange, 0.0, 1.0);
    std::string bar(static_cast<std::size_t>(std::lround(part * kBarWidth)), '=');
    bar.resize(kBarWidth, ' ');
    char figure[16];
    std::snprintf(figure, sizeof figure, " %.0f dB", decibels);
    return "[" + bar + "]" + figure;
}

} // namespace larkmoor::host
