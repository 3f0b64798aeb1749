#include "channels/mjpeg_channel_rtsp.h"

#include "channels/encoder_rules.h"
#include "parsers/jpeg_rtp_media_parser.h"

#include <memory>

namespace korvane
{

namespace
{

constexpr float kWorstMjpegQvalue = 200.0F; // of a Motion JPEG encoder
constexpr float kBestMjpegQvalue = 10.0F;

} // namespace

CMJPEGChannelRTSP::CMJPEGChannelRTSP(std::uint32_t channel, IDriver* driver,
                                     ipcapture::IHostChannelClient* client)
    : CCommonRTSPChannel(channel, driver, client)
{
    codecParser_ = std::make_unique<CJpegRTPMediaParser>(driver, "Larkmoor");
    codecParser_->SetClient(this);
}

CMJPEGChannelRTSP::~CMJPEGChannelRTSP()
{
    Stop();
}

std::string CMJPEGChannelRTSP::FrameRatePiece(std::uint32_t stream) const
{
    return ParameterKey(stream, "mjpeg_maxframe=") + std::to_string(FrameRate());
}

std::string CMJPEGChannelRTSP::FillRequestParameters(std::uint32_t stream)
{
    const std::string resolution = ResolutionPiece(stream);
    if (resolution.empty())
        return "";
    const EncoderQuality quality = MapQuality(settings_.quality, kWorstMjpegQvalue, kBestMjpegQvalue);
    return kSetParam + std::string("network_rtsp_authmode=disable") +
           ParameterKey(stream, "codectype=mjpeg") + resolution + FrameRatePiece(stream) +
           ParameterKey(stream, "mjpeg_quant=") + std::to_string(quality.quant) +
           ParameterKey(stream, "mjpeg_qvalue=") + std::to_string(quality.qvalue);
}

std::string CMJPEGChannelRTSP::FillRequestChangeParametersInAlarm(std::uint32_t stream, bool resolution,
                                                                  bool frameRate)
{
    return ChangeRequest(stream, resolution, frameRate ? FrameRatePiece(stream) : "");
}

} // namespace korvane
