#pragma once

#include "channels/base_rtsp_channel.h"
#include "channels/encoder_request.h"
#include "http/http_client.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace korvane
{

/// What a Vivotek camera needs beyond plain RTSP: its encoder is set by one setparam request before a
/// session, its streams are tried in turn until one takes the settings, and resolution and rate change on
/// demand while a session runs.
///
/// All of it runs on the channel's thread, except `ProcessPacket`.
class CCommonRTSPChannel : public CBaseRTSPChannel
{
public:
    /// `parser` gets the stream's packets.
    CCommonRTSPChannel(std::uint32_t channel, IDriver* driver, ipcapture::IHostChannelClient* client,
                       const EncoderCodec& codec, std::unique_ptr<CRTPMediaParser> parser);

    bool SdpInfoReceived(const RTSPResponse& response) override;

protected:
    void OnStopRequested() override { httpClient_.CloseRequest(); }
    bool ConfigureDevice() override;
    void LeaveDevice() override { httpClient_.Disconnect(); }
    void ProcessPacket(CRTPPacket& packet) override { codecParser_->OnPacket(packet); }
    bool ApplyChange(std::uint32_t mask) override;
    void FillSessionParameters(RTSPClientParams& params) override;

    /// The whole encoder request for a stream of the device (from 0), or empty if there is none to make.
    virtual std::string FillRequestParameters(std::uint32_t stream);

    /// The request for a change of resolution, frame rate or both while the stream runs; empty if there is
    /// none.
    virtual std::string FillRequestChangeParametersInAlarm(std::uint32_t stream, bool resolution,
                                                           bool frameRate);

    const DeviceFacts device_;
    Web::CHttpClient httpClient_;

private:
    bool CheckSensorMode();
    void ReadSensorMode();
    bool SendChange(bool resolution, bool frameRate);
    RateSettings ReadRateSettings() const;
    CEncoderRequest RequestFor(std::uint32_t stream) const;

    const EncoderCodec& codec_;
    const std::unique_ptr<CRTPMediaParser> codecParser_;

    std::uint32_t streamNumber_ = 0;      // that the last ConfigureDevice settled on
    std::optional<VideoMode> sensorMode_; // nothing until it is known; never kAuto
};

// By codec: each gives `CCommonRTSPChannel` its codec's wording and parser.

class CH264ChannelRTSP : public CCommonRTSPChannel
{
public:
    CH264ChannelRTSP(std::uint32_t channel, IDriver* driver, ipcapture::IHostChannelClient* client);
    ~CH264ChannelRTSP() override { Stop(); }
};

/// A device of the legacy interface has one stream, of which it is told only what it has otherwise.
class CMPEGChannelRTSP : public CCommonRTSPChannel
{
public:
    CMPEGChannelRTSP(std::uint32_t channel, IDriver* driver, ipcapture::IHostChannelClient* client);
    ~CMPEGChannelRTSP() override { Stop(); }

protected:
    bool ConfigureDevice() override;
};

class CMJPEGChannelRTSP : public CCommonRTSPChannel
{
public:
    CMJPEGChannelRTSP(std::uint32_t channel, IDriver* driver, ipcapture::IHostChannelClient* client);
    ~CMJPEGChannelRTSP() override { Stop(); }
};

} // namespace korvane
