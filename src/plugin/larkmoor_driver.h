#pragma once

#include "audio/ip_audio_capture.h"
#include "plugin/ip_capture_driver.h"

#include <memory>
#include <string>

namespace korvane
{

/// The driver of a Vivotek device: its time-outs, and which classes serve it.
///
/// For a codec that it does not know `CreateChannel` gives null, which the host sees as a channel that never
/// runs.
class CLarkmoorDriver final : public CIPCaptureDriver, public IAudioChannelCreator
{
public:
    /// Deletes audio, video capture, I/O and PTZ, for a host that has not closed: here and not in the base,
    /// since their threads ask for the driver's name to the last.
    ~CLarkmoorDriver() override;

    /// As the base, and false unless driver property 1 is a whole number. Nothing is undone on failure:
    /// `Close` or the destructor does that.
    bool Open(ipcapture::IHostSink* hostSink, ipcapture::IHostFrameAllocator* frameAllocator,
              ipcapture::IHostDeviceSettings* deviceSettings) override;
    ipcapture::IIPAudioCapture2* GetAudioCapture() override { return audioCapture_.get(); }
    ipcapture::IIPAudioSender* GetAudioSender() override { return audioSender_.get(); }

    std::string GetDriverName() const override { return "Larkmoor"; }

    /// The class follows from the device's codec and, for Motion JPEG, from driver property 7.
    std::unique_ptr<ICameraChannel> CreateChannel(std::uint32_t channel,
                                                  ipcapture::IHostChannelClient* channelClient) override;

    IAudioInputChannel* CreateAudioInputChannel(std::uint32_t audioChannel, std::uint32_t videoChannel,
                                                ipcapture::IHostAudioClient* client,
                                                ipcapture::IHostCodecList* codecList) override;
    IAudioOutputChannel* CreateAudioOutputChannel(std::uint32_t, std::uint32_t, std::uint32_t,
                                                  std::uint32_t) override
    {
        return nullptr;
    }

    bool ConstructAudio(ipcapture::IHostDeviceSettings& deviceSettings) override;
    void DestructAudio() override;
    void RequestStop() override;
    bool ConstructIO() override;
    bool ConstructPTZ() override;

private:
    std::unique_ptr<CIPAudioCapture> audioCapture_;
    std::unique_ptr<CIPAudioCapture> leavingAudio_; // closed from inside a call of one of its channels
    std::unique_ptr<CIPAudioSender> audioSender_;
};

} // namespace korvane
