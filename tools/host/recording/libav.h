#pragma once

#include "base/libav.h"

extern "C"
{
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <cstdint>
#include <new>
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

} // namespace larkmoor::host
