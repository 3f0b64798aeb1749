#include "audio/ip_audio_sender.h"

#include "runtime/host_call.h"

namespace korvane
{

CIPAudioSender::CIPAudioSender(IAudioChannelCreator* creator, std::uint32_t maximum)
    : creator_(creator), channels_(maximum)
{
}

std::uint32_t CIPAudioSender::GetChannelCount()
{
    return channels_.Count();
}

bool CIPAudioSender::StartChannel(std::uint32_t audioChannel, std::uint32_t a, std::uint32_t b,
                                  std::uint32_t c)
{
    return channels_.Start(audioChannel,
                           [&] { return creator_->CreateAudioOutputChannel(audioChannel, a, b, c); });
}

bool CIPAudioSender::StopChannel(std::uint32_t audioChannel)
{
    return channels_.Stop(audioChannel);
}

bool CIPAudioSender::SendFrame(ipcapture::IHostOutgoingAudio* frame)
{
    return frame != nullptr &&
           channels_.With(CallHost(0u, [frame] { return frame->GetChannel(); }) & 0xFF, false,
                          [&](IAudioOutputChannel& channel) { return channel.SendFrame(frame); });
}

bool CIPAudioSender::SetChannelValue(std::uint32_t audioChannel, std::uint32_t value)
{
    return channels_.With(audioChannel, false,
                          [&](IAudioOutputChannel& channel) { return channel.SetValue(value); });
}

std::uint32_t CIPAudioSender::GetChannelValue(std::uint32_t audioChannel)
{
    return channels_.With(audioChannel, std::uint32_t{0},
                          [](const IAudioOutputChannel& channel) { return channel.GetValue(); });
}

} // namespace korvane
