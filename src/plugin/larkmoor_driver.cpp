#include "plugin/larkmoor_driver.h"

#include "audio/audio_capture_channel.h"
#include "channels/common_rtsp_channel.h"
#include "channels/mjpeg_channel_http.h"
#include "device/device_properties.h"
#include "device/host_call.h"
#include "discovery/camera_properties.h"
#include "io/vivotek_io.h"
#include "ptz/vivotek_ptz_control.h"
#include "runtime/guarded.h"
#include "runtime/text.h"

namespace korvane
{

namespace
{

constexpr std::uint32_t kTimeoutMs = 10000;

/// Makes the object for one direction, if the host's text gives the device channels for it.
template <class AudioObject>
void MakeAudio(std::unique_ptr<AudioObject>& object, IAudioChannelCreator* creator, const char* text)
{
    CAudioCapabilities capabilities;
    if (object == nullptr && capabilities.Parse(text) && capabilities.count != 0)
        object = std::make_unique<AudioObject>(creator, capabilities.count);
}

} // namespace

CLarkmoorDriver::~CLarkmoorDriver()
{
    Guarded([this] { CLarkmoorDriver::RequestStop(); });
    for (int times = 0; times < 2; ++times) // what the first time keeps, the second waits for
    {
        CLarkmoorDriver::DestructAudio();
        DeleteObjects();
    }
}

bool CLarkmoorDriver::Open(ipcapture::IHostSink* hostSink, ipcapture::IHostFrameAllocator* frameAllocator,
                           ipcapture::IHostDeviceSettings* deviceSettings)
{
    if (!CIPCaptureDriver::Open(hostSink, frameAllocator, deviceSettings))
        return false;
    return Guarded(
        false,
        [&]
        {
            device_.networkTimeoutMs = kTimeoutMs;
            device_.signalLossTimeoutMs = kTimeoutMs;
            std::int32_t videoStandard = 0;
            if (!Utils::IsInteger(GetPropertyText(ipcapture::kPropertyVideoStandard), videoStandard))
                return false;
            videoStandard_ = videoStandard != 0 ? 1 : 0;
            LogDriverOpened(*deviceSettings, GetDriverName(), std::string());
            return true;
        });
}

std::unique_ptr<ICameraChannel> CLarkmoorDriver::CreateChannel(std::uint32_t channel,
                                                               ipcapture::IHostChannelClient* channelClient)
{
    std::int32_t jpegOverHttp = 0; // and so it stays for a text that is no number
    Utils::IsInteger(GetPropertyText(ipcapture::kPropertyJpegOverHttp), jpegOverHttp);
    switch (GetCodec())
    {
    case ipcapture::kDeviceCodecMotionJpeg:
        if (jpegOverHttp != 0)
            return std::make_unique<CMJPEGChannelHTTP>(channel, this, channelClient);
        return std::make_unique<CMJPEGChannelRTSP>(channel, this, channelClient);
    case ipcapture::kDeviceCodecMpeg4:
        return std::make_unique<CMPEGChannelRTSP>(channel, this, channelClient);
    case ipcapture::kDeviceCodecH264:
        return std::make_unique<CH264ChannelRTSP>(channel, this, channelClient);
    default:
        return nullptr;
    }
}

IAudioInputChannel* CLarkmoorDriver::CreateAudioInputChannel(std::uint32_t audioChannel,
                                                             std::uint32_t videoChannel,
                                                             ipcapture::IHostAudioClient* client,
                                                             ipcapture::IHostCodecList* codecList)
{
    return new CAudioCaptureChannel(this, audioChannel, videoChannel, client, codecList);
}

bool CLarkmoorDriver::ConstructAudio(ipcapture::IHostDeviceSettings& deviceSettings)
{
    MakeAudio(audioCapture_, this,
              AskHost([&] { return deviceSettings.GetParameter(ipcapture::kPropertyAudioInput); }));
    MakeAudio(audioSender_, this,
              AskHost([&] { return deviceSettings.GetParameter(ipcapture::kPropertyAudioOutput); }));
    return true;
}

void CLarkmoorDriver::RequestStop()
{
    if (audioCapture_ != nullptr)
        audioCapture_->RequestStop();
    CIPCaptureDriver::RequestStop();
}

void CLarkmoorDriver::DestructAudio()
{
    leavingAudio_.reset();
    if (audioCapture_ != nullptr && !audioCapture_->StopAll())
        leavingAudio_ = std::move(audioCapture_);
    audioCapture_.reset();
    audioSender_.reset();
}

bool CLarkmoorDriver::ConstructIO()
{
    io_ = std::make_shared<CVivotekIO>(this);
    return true;
}

bool CLarkmoorDriver::ConstructPTZ()
{
    ptz_ = std::make_unique<CVivotekPTZHandler>(this);
    return true;
}

} // namespace korvane
