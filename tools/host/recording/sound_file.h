#pragma once

#include "host/recording/frame_files.h"
#include "host/recording/sound_track.h"

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace larkmoor::host
{

/// Writes the sound of one stream into one file, of the kind that its name ends with: ".wav", ".mka" (or
/// ".mkv") or ".aac". Sound that is unlike that of the first frame ends the file with a `Failure` (Output).
class SoundFile final : public IFrameWriter
{
public:
    /// Throws `Failure` (Usage) for a name that ends otherwise.
    explicit SoundFile(std::filesystem::path file);
    ~SoundFile() override;

    void Write(const Frame& frame) override;
    void Finish() override;

    /// What has been written; complete after `Finish`.
    std::uint64_t Frames() const { return frames_; }
    double Seconds() const;
    std::uint64_t Slips() const { return track_ ? track_->Slips() : 0; }

private:
    void Open(const FrameInfo& info);

    const std::filesystem::path path_;
    SoundTrack::File kind_;
    std::unique_ptr<SoundTrack> track_; // none before the first frame
    std::unique_ptr<OutputContainer> container_;
    std::int64_t origin_ = 0; // microseconds since 1970
    std::int64_t samples_ = 0;
    std::uint64_t frames_ = 0;
};

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
