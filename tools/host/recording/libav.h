#pragma once

#include "base/libav.h"

extern "C"
{
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <new>
#include <span>
#include <string>
#include <vector>

namespace larkmoor::host
{

/// The codec of a format code of the host; AV_CODEC_ID_NONE for no code.
AVCodecID CodecOfFormat(std::uint32_t format);

/// Copies what a decoder needs beforehand into `codec`, its context or its parameters.
template <typename Codec>
void SetHeaders(Codec& codec, const std::vector<std::uint8_t>& headers)
{
    if (headers.empty())
        return;
    codec.extradata = static_cast<std::uint8_t*>(av_mallocz(headers.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    if (codec.extradata == nullptr)
        throw std::bad_alloc();
    std::copy(headers.begin(), headers.end(), codec.extradata);
    codec.extradata_size = static_cast<int>(headers.size());
}

/// What an error code of the libraries means.
std::string LibavError(int code);

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
