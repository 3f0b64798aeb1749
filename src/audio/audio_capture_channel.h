#pragma once

#include "audio/base_audio_rtsp_channel.h"
#include "http/http_sender.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace korvane
{

/// The audio of a Vivotek device: before each session it reads the device's audio settings by CGI and writes
/// those that differ from the codec that host, settings file and device agree on.
class CAudioCaptureChannel : public CBaseAudioRTSPChannel
{
public:
    CAudioCaptureChannel(IDriver* driver, std::uint32_t audioChannel, std::uint32_t videoChannel,
                         ipcapture::IHostAudioClient* client, ipcapture::IHostCodecList* codecList);
    ~CAudioCaptureChannel() override;

    bool SdpInfoReceived(const RTSPResponse& response) override;

protected:
    bool SetAudioStreamParameters() override;
    void FillSessionParameters(RTSPClientParams& params) override;
    void LeaveDevice() override { sender_.Disconnect(); }
    void OnStopRequested() override { sender_.Abort(); }

    /// Chooses among the codecs of `selectedText` (names with "," between them, best first) that the host
    /// takes: `wantedCodec` if it is there, else the first, and g711 if there is none. Fills codec name and
    /// format.
    void ConfigureAudioCodec(std::string_view selectedText, std::string_view wantedCodec);

private:
    std::vector<std::string> Candidates(std::string_view selectedText) const;
    std::string CodecDefaults(const std::string& name);
    std::string ParameterKey(const char* name) const;
    bool Request(const std::string& uri, std::string& response);
    std::string Changes(std::string_view parameters) const;
    void ReadDevice(std::string_view parameters);
    std::uint32_t DeviceBitRate() const;

    Web::CHttpSender sender_;
    std::string codec_;
    std::uint16_t rtspPort_ = 554;
    std::uint32_t stream_ = 0;
    std::uint32_t g726BitRate_ = 0; // bit/s as read from the device; 0 when it told none
    std::uint32_t aacBitRate_ = 0;
};

} // namespace korvane
