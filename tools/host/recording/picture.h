#pragma once

#include "host/recording/frame_files.h"

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <vector>

namespace larkmoor::host
{

/// Decodes one key frame and writes it as PNG. Throws `Failure` (Output) that says what went wrong.
void WritePicture(std::uint32_t format, const std::vector<std::uint8_t>& keyFrame,
                  const std::filesystem::path& file);

/// Keeps the last key frame, and those that pictures are wanted of. Decoding comes at the end, so that it
/// doesn't take the processor from the recording.
class PictureKeeper final : public IFrameWriter
{
public:
    void Write(const Frame& frame) override;

    /// Writes the pictures.
    void Finish() override;

    /// A picture is wanted of the last key frame so far, or of the first one if none has come yet. Any
    /// thread.
    void WantNow(const std::filesystem::path& file);

    /// A picture is wanted of the last key frame of all. Before frames come.
    void WantLast(const std::filesystem::path& file);

private:
    struct Picture
    {
        std::uint32_t format = 0;
        std::vector<std::uint8_t> bytes;
        std::filesystem::path file;
    };

    std::mutex lock_; // over all below
    Picture last_;
    std::vector<Picture> wanted_;
    std::vector<std::filesystem::path> waiting_; // for the first key frame
    std::filesystem::path lastFile_;
};

} // namespace larkmoor::host
