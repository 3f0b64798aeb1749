#include "channels/h264_channel_rtsp.h"

#include "parsers/h264_rtp_media_parser.h"
#include "runtime/text.h"

#include <memory>

namespace korvane
{

namespace
{

constexpr float kWorstH264Qvalue = 51.0F; // of an H.264 encoder
constexpr float kBestH264Qvalue = 0.1F;

} // namespace

CH264ChannelRTSP::CH264ChannelRTSP(std::uint32_t channel, IDriver* driver,
                                   ipcapture::IHostChannelClient* client)
    : CCommonRTSPChannel(channel, driver, client)
{
    codecParser_ = std::make_unique<CH264RTPMediaParser>(driver, "Larkmoor");
    codecParser_->SetClient(this);
}

CH264ChannelRTSP::~CH264ChannelRTSP()
{
    Stop();
}

std::string CH264ChannelRTSP::FillRequestParameters(std::uint32_t stream)
{
    const std::string resolution = ResolutionPiece(stream);
    if (resolution.empty())
        return "";
    return kSetParam + std::string("network_rtsp_authmode=disable") + ParameterKey(stream, "codectype=h264") +
           resolution + ParameterKey(stream, "h264_maxframe=") + std::to_string(FrameRate()) +
           ParameterKey(stream, "h264_intraperiod=1000") +
           RateControlPieces(stream, "h264", kWorstH264Qvalue, kBestH264Qvalue);
}

std::string CH264ChannelRTSP::FillRequestChangeParametersInAlarm(std::uint32_t stream, bool resolution,
                                                                 bool frameRate)
{
    const std::string rate = ParameterKey(stream, "h264_maxframe=") + std::to_string(FrameRate());
    return ChangeRequest(stream, resolution, frameRate ? rate : "");
}

} // namespace korvane
