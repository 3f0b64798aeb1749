#pragma once

#include "host/recording/libav.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <vector>

namespace larkmoor::host
{

/// A media file that libavformat writes. Everything throws `Failure` (Output) that says what went wrong.
class OutputContainer
{
public:
    /// `muxer` is libavformat's name of the kind of file.
    OutputContainer(std::filesystem::path file, const char* muxer);
    ~OutputContainer();
    OutputContainer(const OutputContainer&) = delete;
    OutputContainer& operator=(const OutputContainer&) = delete;

    /// A further stream, numbered from 0, to be described before `Begin`.
    AVStream& AddStream(AVRational timeBase);

    /// Opens the file and writes its head.
    void Begin();

    /// Writes one packet of stream `index`, at `place` in units of `timeBase`; `duration` in these units, or
    /// 0. Of several streams the container keeps packets back until it has those of the others.
    void Write(int index, std::span<const std::uint8_t> bytes, AVRational timeBase, std::int64_t place,
               bool isKey, std::int64_t duration = 0);

    void Close();

private:
    [[noreturn]] void Fail(int code) const;

    const std::filesystem::path path_;
    AVFormatContext* format_ = nullptr;
    LibavPacket packet_{av_packet_alloc()};
    bool hasHead_ = false;
};

} // namespace larkmoor::host
