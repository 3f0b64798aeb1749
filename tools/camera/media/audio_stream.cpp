#include "camera/media/audio_stream.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace larkmoor::camera
{

namespace
{

constexpr double kLevel = 12000; // of 32767: far from the limit that codecs clip at
constexpr double kFadeSeconds = 0.008;

/// A device that was stopped for longer than this leaves the sound of that time out.
constexpr std::chrono::seconds kLargestSoundLag{5};

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

void AudioStream::Configure(const AudioSettings& settings)
{
    const std::lock_guard guard(lock_);
    settings_ = settings;
}

AudioSettings AudioStream::Settings() const
{
    const std::lock_guard guard(lock_);
    return settings_;
}

Bytes AudioStream::Config() const
{
    const auto encoder = AudioEncoder::Open(Settings());
    return encoder ? encoder->Config() : Bytes();
}

void AudioStream::Subscribe(AudioSubscriber& subscriber)
{
    subscribers_.push_back(&subscriber);
    if (workshop_)
        return;
    OpenWorkshop();
    Schedule();
}

void AudioStream::Unsubscribe(AudioSubscriber& subscriber)
{
    std::replace(subscribers_.begin(), subscribers_.end(), &subscriber,
                 static_cast<AudioSubscriber*>(nullptr));
}

void AudioStream::OpenWorkshop()
{
    const AudioSettings settings = Settings();
    const auto now = std::chrono::system_clock::now();
    workshop_.emplace(Workshop{settings, AudioEncoder::Open(settings), Melody(now, settings.SampleRate()),
                               Clock::now(), now});
}

std::chrono::nanoseconds AudioStream::TimeOf(std::uint64_t samples) const
{
    const std::uint32_t rate = workshop_->settings.SampleRate();
    return std::chrono::seconds(samples / rate) +
           std::chrono::nanoseconds(samples % rate * 1'000'000'000 / rate);
}

/// The next piece is due when its last sample has sounded.
void AudioStream::Schedule()
{
    const std::size_t piece = workshop_->encoder ? workshop_->encoder->PieceSamples() : 1000;
    timer_.expires_at(workshop_->start + TimeOf(workshop_->samples + piece));
    timer_.async_wait(
        [weak = weak_from_this()](const boost::system::error_code& error)
        {
            const auto self = weak.lock();
            if (self && !error)
                self->OnTimer();
        });
}

void AudioStream::OnTimer()
{
    std::erase(subscribers_, nullptr);
    if (subscribers_.empty())
    {
        workshop_.reset();
        return;
    }
    const AudioSettings settings = Settings();
    const bool isLate = Clock::now() - timer_.expiry() > kLargestSoundLag;
    if (!settings.IsDescribedAs(workshop_->settings) || settings.bitRate != workshop_->settings.bitRate ||
        isLate)
        OpenWorkshop();
    else
    {
        workshop_->settings.muted = settings.muted;
        EncodePiece();
    }
    Schedule();
}

void AudioStream::EncodePiece()
{
    Workshop& workshop = *workshop_;
    if (!workshop.encoder)
    {
        workshop.samples += 1000;
        return;
    }
    std::vector<std::int16_t> sound(workshop.encoder->PieceSamples());
    for (std::size_t i = 0; i < sound.size() && !workshop.settings.muted; ++i)
        sound[i] = workshop.melody.Sample(workshop.samples + i);
    AudioPiece piece;
    piece.bytes = std::make_shared<const Bytes>(workshop.encoder->Encode(sound));
    piece.settings = workshop.settings;
    piece.firstSample = workshop.samples;
    piece.captured = workshop.startTime + std::chrono::duration_cast<std::chrono::system_clock::duration>(
                                              TimeOf(workshop.samples));
    workshop.samples += sound.size();
    if (piece.bytes->empty())
        return;
    for (std::size_t i = 0; i < subscribers_.size(); ++i) // by index: OnAudio may bring subscribers
    {
        if (subscribers_[i] != nullptr)
            subscribers_[i]->OnAudio(piece);
    }
}

} // namespace larkmoor::camera
