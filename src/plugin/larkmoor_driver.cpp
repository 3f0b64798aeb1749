#include "plugin/larkmoor_driver.h"

#include "channels/h264_channel_rtsp.h"
#include "channels/mjpeg_channel_http.h"
#include "io/vivotek_io.h"
#include "plugin/guarded.h"
#include "ptz/vivotek_ptz_handler.h"
#include "runtime/text.h"

namespace korvane
{

namespace
{

constexpr std::uint32_t kTimeoutMs = 10000;

constexpr std::uint32_t kVideoStandardProperty = 1;
constexpr std::uint32_t kJpegOverHttpProperty = 7;

constexpr std::uint32_t kCodecMotionJpeg = 1;
constexpr std::uint32_t kCodecH264 = 3;

} // namespace

bool CLarkmoorDriver::Open(ipcapture::IHostSink* hostSink, ipcapture::IHostFrameAllocator* frameAllocator,
                           ipcapture::IHostDeviceSettings* deviceSettings)
{
    if (!CIPCaptureDriver::Open(hostSink, frameAllocator, deviceSettings))
        return false;
    return Guarded(false,
                   [&]
                   {
                       device_.networkTimeoutMs = kTimeoutMs;
                       device_.signalLossTimeoutMs = kTimeoutMs;
                       std::int32_t videoStandard = 0;
                       if (!Utils::IsInteger(GetPropertyText(kVideoStandardProperty), videoStandard))
                           return false;
                       videoStandard_ = videoStandard != 0 ? 1 : 0;
                       LogDriverOpened(*deviceSettings, GetDriverName(), std::string());
                       return true;
                   });
}

std::unique_ptr<ICameraChannel> CLarkmoorDriver::CreateChannel(std::uint32_t channel,
                                                               ipcapture::IHostChannelClient* channelClient)
{
    std::int32_t jpegOverHttp = 0;
    if (!Utils::IsInteger(GetPropertyText(kJpegOverHttpProperty), jpegOverHttp))
        jpegOverHttp = 0;
    switch (GetCodec())
    {
    case kCodecMotionJpeg:
        if (jpegOverHttp != 0)
            return std::make_unique<CMJPEGChannelHTTP>(channel, this, channelClient);
        return nullptr;
    case kCodecH264:
        return std::make_unique<CH264ChannelRTSP>(channel, this, channelClient);
    default:
        return nullptr;
    }
}

IAudioInputChannel* CLarkmoorDriver::CreateAudioInputChannel(std::uint32_t, std::uint32_t,
                                                             ipcapture::IHostAudioClient*,
                                                             ipcapture::IHostCodecList*)
{
    return nullptr;
}

IAudioOutputChannel* CLarkmoorDriver::CreateAudioOutputChannel(std::uint32_t, std::uint32_t, std::uint32_t,
                                                               std::uint32_t)
{
    return nullptr;
}

bool CLarkmoorDriver::ConstructAudio(ipcapture::IHostDeviceSettings&)
{
    return true;
}

bool CLarkmoorDriver::ConstructIO()
{
    if (io_ == nullptr)
        io_ = std::make_unique<CVivotekIO>(this);
    return true;
}

bool CLarkmoorDriver::ConstructPTZ()
{
    if (ptz_ == nullptr)
        ptz_ = std::make_unique<CVivotekPTZHandler>(this);
    return true;
}

} // namespace korvane
