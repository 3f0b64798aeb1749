#pragma once

#include "host/recording/frame_files.h"
#include "host/recording/sound_track.h"

#include <cstdint>
#include <deque>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace larkmoor::host
{

/// Turns the times of frames into those of a recording: milliseconds from 0, each later than the one before,
/// as containers demand. One thread.
class Timeline
{
public:
    /// The place of a frame with this time (microseconds since 1970). A time that isn't later than the last
    /// is put one millisecond behind it. After a leap of more than `kLeap` back, which a camera makes when
    /// its clock is set, the recording goes on at the distance that frames had before.
    std::int64_t Place(std::int64_t timeMicroseconds);

    /// Frames that didn't get the place that their time asked for.
    std::uint64_t Moved() const { return moved_; }

    static constexpr std::int64_t kLeap = 1000; ///< milliseconds

private:
    std::optional<std::int64_t> origin_; // milliseconds
    std::int64_t last_ = 0;
    std::int64_t distance_ = 40;
    std::uint64_t moved_ = 0;
};

/// One file of a recording.
struct RecordedFile
{
    std::filesystem::path path;
    std::uint32_t format = 0; ///< of the first frame
    std::uint64_t frames = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::int64_t firstTime = 0; ///< microseconds since 1970
    std::int64_t lastTime = 0;
    std::uint64_t moved = 0; ///< frames whose time didn't go forward and was changed for the recording
    std::uint64_t soundFrames = 0;
    double soundSeconds = 0;
    std::uint64_t soundSlips = 0; ///< breaks of the sound, by the times of its frames
};

/// Writes frames into Matroska files, untouched, at the times that they carry. A file begins with a key
/// frame, and holds one codec and one picture size: players size their window once. When either changes, the
/// recording goes on in a new file, "name-2.mkv" behind "name.mkv" and so on.
///
/// With sound, pictures are held back until the first sound has come, since a file has to say at its
/// beginning what is in it, but not more than `kMostHeldBytes` of them: then the file has none. Sound stands
/// at its place by the time at which it began (see `SoundTrack`); what began before the first picture is left
/// out. Other sound than the first also leads to a new file, with the next key frame.
class MatroskaWriter final : public IFrameWriter
{
public:
    static constexpr std::size_t kMostHeldBytes = 32u << 20;

    explicit MatroskaWriter(std::filesystem::path file, bool withSound = false);
    ~MatroskaWriter() override;

    void Write(const Frame& frame) override;
    void Finish() override;

    /// What has been written; complete after `Finish`. Not while frames are being written.
    const std::vector<RecordedFile>& Files() const { return files_; }

private:
    /// What is kept of a frame that has to wait.
    struct Held
    {
        FrameInfo info;
        std::vector<std::uint8_t> bytes;
    };
    using Bytes = std::span<const std::uint8_t>;

    bool Hold(const FrameInfo& info, Bytes bytes);
    void WriteHeld();
    void WritePicture(const FrameInfo& info, Bytes bytes);
    void WriteSound(const FrameInfo& info, Bytes bytes);
    bool NeedsNewFile(const FrameInfo& keyFrame) const;
    void Open(const FrameInfo& keyFrame, Bytes bytes);
    std::filesystem::path NextPath() const;

    std::filesystem::path path_;
    bool waitsForSound_;
    std::deque<Held> held_;
    std::size_t heldBytes_ = 0;
    std::optional<FrameInfo> soundInfo_;         // of the last sound
    std::unique_ptr<SoundTrack> sound_;          // none without sound
    std::unique_ptr<OutputContainer> container_; // none before the first key frame
    Timeline timeline_;
    std::vector<RecordedFile> files_;
};

} // namespace larkmoor::host
