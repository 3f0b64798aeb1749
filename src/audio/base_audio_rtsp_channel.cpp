#include "audio/base_audio_rtsp_channel.h"

#include "runtime/text.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace korvane
{

namespace
{

constexpr std::uint8_t kMonoReserved = 16;  // what goes with one channel
constexpr std::uint32_t kRoundMs = 2000;    // between looks at a multicast stream
constexpr std::uint32_t kShortRoundMs = 20; // the same, after a session that brought nothing
constexpr const char* kAudioSdpFunction = "korvane::CBaseAudioRTSPChannel::SdpInfoReceived";

bool IsAllowed(AudioState from, AudioState to)
{
    using enum AudioState;
    static constexpr std::pair<AudioState, AudioState> kMoves[] = {
        {kStopped, kStarting},    {kStarting, kStreaming},   {kStarting, kStopping}, {kStarting, kSignalLost},
        {kStreaming, kStopping},  {kStreaming, kSignalLost}, {kStopping, kStopped},  {kError, kStopped},
        {kSignalLost, kStarting}, {kSignalLost, kStopping},
    };
    return std::ranges::find(kMoves, std::pair(from, to)) != std::end(kMoves);
}

} // namespace

SDPAudioFormat CBaseAudioRTSPChannel::DefaultFormat(std::uint32_t codecCode)
{
    if (codecCode == ipcapture::kFormatAac)
        return {codecCode, 44100, 128000, kMonoReserved, 1};
    return {codecCode, 8000, codecCode == ipcapture::kFormatG726 ? 32000u : 64000u, kMonoReserved, 1};
}

CBaseAudioRTSPChannel::CBaseAudioRTSPChannel(IDriver* driver, std::uint32_t audioChannel,
                                             std::uint32_t videoChannel, ipcapture::IHostAudioClient* client,
                                             ipcapture::IHostCodecList* codecList)
    : CBaseRTPDataChannel(driver, videoChannel),
      CLoggerInstance(driver),
      codecList_(codecList),
      parser_(this, driver, static_cast<std::uint8_t>(audioChannel)),
      audioChannel_(audioChannel),
      gate_(client)
{
}

bool CBaseAudioRTSPChannel::Start()
{
    const COneAtATime::Turn turn(life_);
    JoinThread(2 * NetworkTimeoutMs());
    socketLibrary_.Start();
    if (setUp_.StartThread([this] { return stream_.ReadSettings(); },
                           [this] { return StartThread("Audio RTSP Channel"); }))
        return true;
    socketLibrary_.Stop();
    return false;
}

void CBaseAudioRTSPChannel::RequestStop()
{
    stopEvent_.Set();
    OnStopRequested();
}

bool CBaseAudioRTSPChannel::Stop()
{
    if (gate_.IsInside()) // the caller is a thread of this channel, or one that it waits for
    {
        gate_.Shut();
        untilThreadEnds_ = weak_from_this().lock();
        stopEvent_.Set();
        return false;
    }
    const COneAtATime::Turn turn(life_);
    JoinThread(2 * NetworkTimeoutMs());
    stream_.Close();
    setUp_.Close();
    socketLibrary_.Stop();
    untilThreadEnds_.reset(); // the caller has a hold of its own
    return true;
}

void CBaseAudioRTSPChannel::Run()
{
    try
    {
        const CClientGateBase::Inside inside(gate_);
        CBaseRTPDataChannel::Run();
    }
    catch (...) // nothing throws but for want of memory: the sound ends, and a stop finds that
    {
        StopStream();
        OnStopped();
    }
    const std::shared_ptr<IAudioInputChannel> last = std::move(untilThreadEnds_);
}

bool CBaseAudioRTSPChannel::MoveTo(AudioState next)
{
    AudioState now = state_;
    do
    {
        if (!IsAllowed(now, next))
            return false;
    } while (!state_.compare_exchange_weak(now, next));
    gate_.Tell(&ipcapture::IHostAudioClient::StateChanged, audioChannel_, static_cast<std::uint32_t>(next));
    return true;
}

std::string CBaseAudioRTSPChannel::DeviceText() const
{
    const std::string address = driver_->GetDeviceInfo().address;
    if (driver_->GetChannelCount() > 1)
        return Utils::FormatString("video-server %s (channel %u)", address.c_str(), videoChannel_);
    return "camera " + address;
}

void CBaseAudioRTSPChannel::SetDeviceState(bool signal)
{
    if (signal_.exchange(signal) == signal)
        return;
    static constexpr const char* kFunction = "korvane::CBaseAudioRTSPChannel::SetDeviceState";
    const std::string device = DeviceText();
    const AudioState state = state_;
    if (signal)
        driver_->DebugMessage(kLevelInformation, "%s: Audio signal from %s is OK", kFunction, device.c_str());
    else if (state == AudioState::kStopped)
        driver_->DebugMessage(kLevelInformation, "%s: Audio channel was stopped for %s", kFunction,
                              device.c_str());
    else if (state == AudioState::kError)
        driver_->DebugMessage(kLevelError, "%s: Error occurs in audio channel for %s", kFunction,
                              device.c_str());
    else if (state == AudioState::kSignalLost)
        driver_->DebugMessage(kLevelError, "%s: Audio signal was lost for %s", kFunction, device.c_str());
    else
        driver_->DebugMessage(kLevelWarning, "%s: Unexpected channel status for %s", kFunction,
                              device.c_str());
}

void CBaseAudioRTSPChannel::OnStopping()
{
    if (IsStopping() || state_ != AudioState::kSignalLost)
        MoveTo(AudioState::kStopping);
}

void CBaseAudioRTSPChannel::OnSignalLost()
{
    MoveTo(AudioState::kSignalLost);
    SetDeviceState(false);
}

void CBaseAudioRTSPChannel::OnStopped()
{
    MoveTo(AudioState::kStopped);
    SetDeviceState(false);
}

bool CBaseAudioRTSPChannel::Connect()
{
    MoveTo(AudioState::kStarting);
    if (SetAudioStreamParameters())
        return true;
    MoveTo(AudioState::kSignalLost);
    return false;
}

bool CBaseAudioRTSPChannel::StartStream()
{
    if (CBaseRTPDataChannel::StartStream() && StartSession())
        return true;
    MoveTo(AudioState::kSignalLost);
    return false;
}

bool CBaseAudioRTSPChannel::StartSession()
{
    RTSPClientParams params = stream_.SessionParameters();
    params.blocksize = stream_.Settings().blocksize;
    if (stream_.IsMulticast())
        params.receiveTimeoutMs = params.connectTimeoutMs;
    FillSessionParameters(params);
    if (!stream_.StartSession(params, this) || IsStopping())
        return false;
    MoveTo(AudioState::kStreaming);
    return true;
}

void CBaseAudioRTSPChannel::StopStream()
{
    if (!IsStopping() && state_ != AudioState::kSignalLost)
        MoveTo(AudioState::kStopping);
    CBaseRTPDataChannel::StopStream();
    isDescribed_ = false;
}

void CBaseAudioRTSPChannel::RunMulticast()
{
    KeepSession([this] { return OpenMulticastSession(); }, [this]
                { return lastFrame_.GetElapsedMs() <= NetworkTimeoutMs() && !stream_.byeEvent.Wait(0); });
}

// How long to wait before the next look. A device that can't be reached at all is not asked more often than
// any other.
std::uint32_t CBaseAudioRTSPChannel::OpenMulticastSession()
{
    int woken = 0;
    const auto start = [&]
    {
        if (StartSession() && stream_.AwaitGroup(NetworkTimeoutMs(), woken))
            return true;
        MoveTo(AudioState::kSignalLost);
        return false;
    };
    return !TrySession(start) || woken > 0 ? kRoundMs : kShortRoundMs;
}

void CBaseAudioRTSPChannel::OnRTPPacket(CRTPPacket& packet)
{
    if (stream_.Takes(packet))
        ProcessPacket(packet);
}

void CBaseAudioRTSPChannel::ProcessPacket(CRTPPacket& packet)
{
    const CClientGateBase::Inside inside(gate_);
    // Before the description has set the parser up, what comes to a port over UDP is a stranger's.
    if (!isDescribed_)
        return;
    const std::span<const std::uint8_t> payload = packet.Payload();
    parser_.ParseData(payload.data(), static_cast<std::uint32_t>(payload.size()), packet.SequenceNumber(),
                      packet.Marker());
}

bool CBaseAudioRTSPChannel::AudioFrame(ipcapture::IHostFrame* frame)
{
    stream_.frameEvent.Set();
    if (IsStopping() || state_ != AudioState::kStreaming ||
        !gate_.Ask(false, &ipcapture::IHostAudioClient::AudioFrame, frame))
        return false;
    lastFrame_.Update();
    SetDeviceState(true);
    return true;
}

bool CBaseAudioRTSPChannel::SdpInfoReceived(const RTSPResponse& response)
{
    const CClientGateBase::Inside inside(gate_);
    const SDPMediaSection& section = response.description.audio;
    const SDPAudioFormat& offered = response.description.audioFormat;
    switch (offered.codecCode)
    {
    case ipcapture::kFormatG711MuLaw:
    case ipcapture::kFormatG711ALaw:
        TakeRates(offered);
        break;
    case ipcapture::kFormatG726:
        TakeRates(offered);
        ReplaceUnlessZero(format_.bitRate, offered.bitRate);
        break;
    case ipcapture::kFormatAac:
        TakeAac(response);
        break;
    default: // an encoding that nothing here can unpack, or none
        Message(kLevelError, "%s: Audio encoding for device %s doesn't recognized: %s", kAudioSdpFunction,
                driver_->GetDeviceName().c_str(), section.encoding.c_str());
        return false;
    }
    parser_.SetFormat(format_);
    parser_.SetParameters(response.description.audioParameters);
    // As with video, a group that can't be joined doesn't end the session: no frames come, and the loop acts
    // on that.
    if (stream_.IsMulticast())
        OpenMulticastReceiver(section.address, section.port);
    return true;
}

void CBaseAudioRTSPChannel::TakeRates(const SDPAudioFormat& offered)
{
    if (format_.codecCode != offered.codecCode)
        format_ = DefaultFormat(offered.codecCode);
    ReplaceUnlessZero(format_.sampleRate, offered.sampleRate);
}

void CBaseAudioRTSPChannel::TakeAac(const RTSPResponse& response)
{
    const SDPAudioFormat& offered = response.description.audioFormat;
    const SDPAudioParameters& parameters = response.description.audioParameters;
    const std::string& text = response.description.audio.formatParameters;
    const std::string device = driver_->GetDeviceName();
    if (offered.channels > 2)
        Message(kLevelError, "%s: AAC Audio with %u channels doesn't supported by system for device %s: %s",
                kAudioSdpFunction, unsigned{offered.channels}, device.c_str(), text.c_str());
    if (parameters.sizelength != 13 || parameters.indexlength != 3 || parameters.indexdeltalength != 3 ||
        parameters.ctsdeltalength != 0 || parameters.dtsdeltalength != 0)
        Message(kLevelWarning, "%s: Audio format parameters for device %s doesn't compatible with parser: %s",
                kAudioSdpFunction, device.c_str(), text.c_str());
    if (format_.codecCode != offered.codecCode)
    {
        format_ = offered;
        format_.bitRate = 0;
        if (format_.channels == 1)
            format_.reserved = kMonoReserved;
        return;
    }
    ReplaceUnlessZero(format_.sampleRate, offered.sampleRate);
    ReplaceUnlessZero(format_.channels, offered.channels);
}

} // namespace korvane
