#include "audio/ip_audio_capture.h"

namespace korvane
{

CIPAudioCapture::CIPAudioCapture(IAudioChannelCreator* creator, std::uint32_t maximum)
    : creator_(creator), channels_(maximum)
{
}

std::uint32_t CIPAudioCapture::GetChannelCount()
{
    return channels_.Count();
}

bool CIPAudioCapture::StartChannel(std::uint32_t audioChannel, std::uint32_t videoChannel,
                                   ipcapture::IHostAudioClient* client, ipcapture::IHostCodecList* codecList)
{
    return channels_.Start(
        audioChannel,
        [&] { return creator_->CreateAudioInputChannel(audioChannel, videoChannel, client, codecList); });
}

bool CIPAudioCapture::StopChannel(std::uint32_t audioChannel)
{
    return channels_.Stop(audioChannel);
}

std::uint32_t CIPAudioCapture::GetChannelState(std::uint32_t audioChannel)
{
    return channels_.With(audioChannel, std::uint32_t{0},
                          [](const IAudioInputChannel& channel) { return channel.GetState(); });
}

} // namespace korvane
