#include "host/recording/libav.h"

#include <larkmoor/host_frame.h>

#include <array>

namespace larkmoor::host
{

using namespace korvane::ipcapture;

AVCodecID CodecOfFormat(std::uint32_t format)
{
    switch (format)
    {
    case kFormatH264Key:
    case kFormatH264Delta:
        return AV_CODEC_ID_H264;
    case kFormatMpeg4Key:
    case kFormatMpeg4Delta:
        return AV_CODEC_ID_MPEG4;
    case kFormatJpeg:
        return AV_CODEC_ID_MJPEG;
    case kFormatG711MuLaw:
        return AV_CODEC_ID_PCM_MULAW;
    case kFormatG711ALaw:
        return AV_CODEC_ID_PCM_ALAW;
    case kFormatG726:
        return AV_CODEC_ID_ADPCM_G726LE; // packed from the least significant bit on, as RFC 3551 has it
    case kFormatAac:
        return AV_CODEC_ID_AAC;
    default:
        return AV_CODEC_ID_NONE;
    }
}

std::string LibavError(int code)
{
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(code, text.data(), text.size());
    return text.data();
}

} // namespace larkmoor::host
