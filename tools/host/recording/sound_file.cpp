#include "host/recording/sound_file.h"

#include "host/base/failure.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace larkmoor::host
{

namespace
{

SoundTrack::File KindOf(const std::filesystem::path& file)
{
    const std::string ending = file.extension().string();
    if (ending == ".wav")
        return SoundTrack::File::Wav;
    if (ending == ".mka" || ending == ".mkv")
        return SoundTrack::File::Matroska;
    if (ending == ".aac")
        return SoundTrack::File::Adts;
    throw Failure(ExitStatus::Usage, "sound goes into a .wav, .mka or .aac file, not into " + file.string());
}

const char* MuxerOf(SoundTrack::File kind)
{
    switch (kind)
    {
    case SoundTrack::File::Wav:
        return "wav";
    case SoundTrack::File::Matroska:
        return "matroska";
    case SoundTrack::File::Adts:
        break;
    }
    return "adts";
}

constexpr std::size_t kBarWidth = 24;
constexpr double kBarRange = 48; // dB from an empty bar to a full one

} // namespace

SoundFile::SoundFile(std::filesystem::path file) : path_(std::move(file)), kind_(KindOf(path_))
{
    av_log_set_level(AV_LOG_ERROR);
}

SoundFile::~SoundFile() = default;

double SoundFile::Seconds() const
{
    return track_ ? static_cast<double>(samples_) / track_->SampleRate() : 0;
}

void SoundFile::Open(const FrameInfo& info)
{
    track_ = std::make_unique<SoundTrack>(info, kind_);
    auto container = std::make_unique<OutputContainer>(path_, MuxerOf(kind_));
    track_->Describe(*container->AddStream({1, static_cast<int>(info.sampleRate)}).codecpar);
    container->Begin();
    container_ = std::move(container);
}

void SoundFile::Write(const Frame& frame)
{
    const FrameInfo& info = frame.Info();
    if (!info.isAudio)
        return;
    const bool isFirst = !track_;
    if (isFirst)
        Open(info);
    if (!track_->Fits(info))
        throw Failure(ExitStatus::Output, path_.string() + " ends here: the sound is of another kind now");
    const SoundTrack::Piece piece = track_->Make(info, frame.Data());
    if (isFirst)
        origin_ = piece.begin;
    // A file that has no times gets the sound in one piece; elsewhere a break stays one.
    const std::int64_t place = kind_ == SoundTrack::File::Matroska
                                   ? av_rescale(piece.begin - origin_, track_->SampleRate(), 1'000'000)
                                   : samples_;
    if (!piece.bytes.empty())
        container_->Write(0, piece.bytes, {1, static_cast<int>(track_->SampleRate())}, place, true,
                          piece.samples);
    samples_ += piece.samples;
    ++frames_;
}

void SoundFile::Finish()
{
    if (const auto container = std::exchange(container_, nullptr))
        container->Close();
}

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
