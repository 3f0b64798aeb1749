#pragma once

#include "host/recording/frame_writer.h"
#include "host/recording/timeline.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace larkmoor::host
{

/// One file of a recording.
struct RecordedFile
{
    std::filesystem::path path;
    std::uint64_t frames = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::int64_t firstTime = 0; ///< microseconds since 1970
    std::int64_t lastTime = 0;
    std::uint64_t moved = 0; ///< frames whose time didn't go forward and was changed for the recording
};

/// Writes frames into Matroska files, untouched, at the times that they carry. A file begins with a key
/// frame, and holds one codec and one picture size: players size their window once. When either changes, the
/// recording goes on in a new file, "name-2.mkv" behind "name.mkv" and so on.
class MatroskaWriter final : public IFrameWriter
{
public:
    explicit MatroskaWriter(std::filesystem::path file);
    ~MatroskaWriter() override;

    void Write(const Frame& frame) override;
    void Finish() override;

    /// What has been written; complete after `Finish`. Not while frames are being written.
    const std::vector<RecordedFile>& Files() const { return files_; }

private:
    struct Container;

    bool NeedsNewFile(const Frame& keyFrame) const;
    void Open(const Frame& keyFrame);
    std::filesystem::path NextPath() const;

    std::filesystem::path path_;
    std::unique_ptr<Container> container_; // none before the first key frame
    Timeline timeline_;
    std::vector<RecordedFile> files_;
};

} // namespace larkmoor::host
