#pragma once

#include "host/recording/frame_writer.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>

namespace larkmoor::host
{

/// A file to which lines or bytes are added; every failure to open or write is a `Failure` (Output).
class OutputFile
{
public:
    explicit OutputFile(std::filesystem::path file);

    void Write(std::span<const char> bytes);
    void Finish();

private:
    void Check() const;

    std::filesystem::path path_;
    std::ofstream stream_;
};

/// The bytes of all frames, of pictures or of sound, one behind the other: an elementary stream.
class RawWriter final : public IFrameWriter
{
public:
    explicit RawWriter(const std::filesystem::path& file, bool ofSound = false)
        : file_(file), ofSound_(ofSound)
    {
    }

    void Write(const Frame& frame) override;
    void Finish() override { file_.Finish(); }

private:
    OutputFile file_;
    const bool ofSound_;
};

/// A JSON object a line for each frame: time, format, size, width, height, md5.
class FrameLog final : public IFrameWriter
{
public:
    explicit FrameLog(const std::filesystem::path& file) : file_(file) {}

    void Write(const Frame& frame) override;
    void Finish() override { file_.Finish(); }

private:
    OutputFile file_;
};

} // namespace larkmoor::host
