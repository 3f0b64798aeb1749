#pragma once

#include "audio/audio_channel_creator.h"
#include "audio/base_rtp_audio_parser.h"
#include "audio/base_rtp_data_channel.h"
#include "device/client_gate.h"
#include "platform/socket.h"
#include "runtime/logger_instance.h"
#include "runtime/one_at_a_time.h"

#include <larkmoor/ip_audio.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace korvane
{

/// What an audio channel is doing, as `ipcapture::IHostAudioClient::StateChanged` tells it.
enum class AudioState : std::uint32_t
{
    kStopped = 0,
    kStarting = 1, ///< settings are being made and the session opened
    kStreaming = 2,
    kStopping = 3,
    kError = 4,
    kSignalLost = 5,
};

/// An audio channel that gets its RTP through an RTSP session on the audio section of the device's
/// description. It tells the host of each state, and the log when the signal comes and goes.
///
/// `Start` and `Stop` may come from any thread. The RTSP client's callbacks run on the client's thread, the
/// parser and the host's `AudioFrame` on the thread that carries the packets.
class CBaseAudioRTSPChannel : public CBaseRTPDataChannel,
                              public CLoggerInstance,
                              public IAudioInputChannel,
                              public IRTSPClientUser,
                              public IAudioParserClient
{
public:
    /// `client` and `codecList` are the host's and outlive the channel; either may be null.
    CBaseAudioRTSPChannel(IDriver* driver, std::uint32_t audioChannel, std::uint32_t videoChannel,
                          ipcapture::IHostAudioClient* client, ipcapture::IHostCodecList* codecList);

    bool Start() override; ///< begins afresh; false if the thread can't be made
    void RequestStop() override;
    bool Stop() override; ///< also the first thing in the destructor of a class that adds to what threads use
    std::uint32_t GetState() const override { return static_cast<std::uint32_t>(state_.load()); }

    bool SdpInfoReceived(const RTSPResponse& response) override;
    void OnRTPPacket(CRTPPacket& packet) override;
    void OnSessionEnded() override { stream_.endedEvent.Set(); }
    void OnRTCPBye() override { CBaseRTPDataChannel::OnRTCPBye(); }

    bool AudioFrame(ipcapture::IHostFrame* frame) override;
    bool WantsFrames() override { return !IsStopping(); }

protected:
    bool StartStream() override;
    void StopStream() override;
    void RunMulticast() override;
    bool Connect() override;
    void ProcessPacket(CRTPPacket& packet) override;
    void OnStreamStarted() override { MoveTo(AudioState::kStreaming); }
    void OnStopping() override;
    void Run() override;
    void OnSignalLost() override;
    void OnStopped() override;

    /// Brings the device's audio settings in line with the wanted codec, and the format record with them.
    virtual bool SetAudioStreamParameters() = 0;

    /// Fills in what only the device family knows: section, port and path of the stream.
    virtual void FillSessionParameters(RTSPClientParams& params) = 0;

    /// What a codec's format is until a device or its description says more.
    static SDPAudioFormat DefaultFormat(std::uint32_t codecCode);

    template <class Number>
    static void ReplaceUnlessZero(Number& value, Number offered)
    {
        if (offered != 0)
            value = offered;
    }

    ipcapture::IHostCodecList* const codecList_;
    CBaseRTPAudioParser parser_;
    SDPAudioFormat format_; ///< of the frames; the channel's thread before a session, the client's in it

    /// The session in hand has its description, and the parser what it needs of it: set by the last class
    /// that has to do with the description. Packets from before are a stranger's.
    std::atomic<bool> isDescribed_{false};

private:
    bool MoveTo(AudioState next);
    void SetDeviceState(bool signal);
    std::string DeviceText() const;
    bool StartSession();
    void TakeRates(const SDPAudioFormat& offered);
    void TakeAac(const RTSPResponse& response);
    std::uint32_t OpenMulticastSession();

    COneAtATime life_;                         // who starts or stops
    platform::SocketLibraryUse socketLibrary_; ///< held from `Start` to `Stop`
    const std::uint32_t audioChannel_;
    TClientGate<ipcapture::IHostAudioClient> gate_;
    std::atomic<bool> signal_{false};
    std::atomic<AudioState> state_{AudioState::kStopped};
    std::shared_ptr<IAudioInputChannel> untilThreadEnds_; // itself, after a stop from inside a call
};

} // namespace korvane
