#pragma once

#include "host/recording/frame_writer.h"
#include "host/recording/sound_track.h"

#include <filesystem>
#include <memory>

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

} // namespace larkmoor::host
