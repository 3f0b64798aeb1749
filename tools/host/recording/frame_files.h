#pragma once

#include "host/contract/frame.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>

namespace larkmoor::host
{

/// Something that is made of the frames of a stream. Used on one thread; failures are thrown as `Failure`
/// (Output).
class IFrameWriter
{
public:
    virtual ~IFrameWriter() = default;

    /// One frame, in the order of delivery.
    virtual void Write(const Frame& frame) = 0;

    /// No further frame comes: brings all to the disk.
    virtual void Finish() = 0;
};

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
