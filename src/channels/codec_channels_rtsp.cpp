#include "channels/codec_channels_rtsp.h"

#include "http/send_request.h"
#include "parsers/h264_rtp_media_parser.h"
#include "parsers/jpeg_rtp_media_parser.h"
#include "parsers/mpeg4_rtp_media_parser.h"
#include "runtime/text.h"

#include <memory>

namespace korvane
{

CH264ChannelRTSP::CH264ChannelRTSP(std::uint32_t channel, IDriver* driver,
                                   ipcapture::IHostChannelClient* client)
    : CCommonRTSPChannel(channel, driver, client, kH264Encoder,
                         std::make_unique<CH264RTPMediaParser>(driver, "Larkmoor"))
{
}

CMPEGChannelRTSP::CMPEGChannelRTSP(std::uint32_t channel, IDriver* driver,
                                   ipcapture::IHostChannelClient* client)
    : CCommonRTSPChannel(channel, driver, client, kMpeg4Encoder,
                         std::make_unique<CMpeg4RTPMediaParser>(driver, "Larkmoor"))
{
}

bool CMPEGChannelRTSP::ConfigureDevice()
{
    if (!device_.isLegacy)
        return CCommonRTSPChannel::ConfigureDevice();
    std::string parameters;
    if (!CameraCgi::Read(httpClient_, "video", parameters))
        return false;
    const std::string changes = LegacyMpeg4Changes(settings_, Utils::RemoveChars(parameters, "' "));
    return changes.empty() ||
           (!IsStopping() && httpClient_.SendRequest("GET", CameraCgi::kSetParam + changes));
}

CMJPEGChannelRTSP::CMJPEGChannelRTSP(std::uint32_t channel, IDriver* driver,
                                     ipcapture::IHostChannelClient* client)
    : CCommonRTSPChannel(channel, driver, client, kMjpegEncoder,
                         std::make_unique<CJpegRTPMediaParser>(driver, "Larkmoor"))
{
}

} // namespace korvane
