#pragma once

#include "channels/base_rtsp_channel.h"
#include "http/http_client.h"

#include <cstdint>
#include <memory>
#include <string>

namespace korvane
{

/// What a Vivotek camera needs beyond plain RTSP: its encoder is set by one setparam request before a
/// session, its streams are tried in turn until one takes the settings, and resolution and rate change on
/// demand while a session runs. The codec's own wording of the requests is the subclass's.
///
/// All of it runs on the channel's thread, except `ProcessPacket`.
class CCommonRTSPChannel : public CBaseRTSPChannel
{
public:
    CCommonRTSPChannel(std::uint32_t channel, IDriver* driver, ipcapture::IHostChannelClient* client);

protected:
    static constexpr const char* kSetParam = "/cgi-bin/admin/setparam.cgi?";

    void OnStopRequested() override { httpClient_.CloseRequest(); }
    bool ConfigureDevice() override;
    void ProcessPacket(CRTPPacket& packet) override;
    bool ApplyChange(std::uint32_t mask) override;
    void FillSessionParameters(RTSPClientParams& params) override;

    /// The whole encoder request for a stream of the device (from 0), or empty if there is none to make.
    virtual std::string FillRequestParameters(std::uint32_t stream) = 0;

    /// The request for a change of resolution, frame rate or both while the stream runs; empty if there is
    /// none.
    virtual std::string FillRequestChangeParametersInAlarm(std::uint32_t stream, bool resolution,
                                                           bool frameRate) = 0;

    /// The piece of a request that asks for the settings' picture size, with its leading "&", in the notation
    /// that the device takes; empty if that isn't known.
    std::string ResolutionPiece(std::uint32_t stream) const;

    /// "&videoin_c%u_s%u_" and the name, for the channel and a stream.
    std::string ParameterKey(std::uint32_t stream, const char* name) const;

    /// The request for a change of the picture size, if `resolution` is set, and of what `rest` holds; empty
    /// if the size can't be told to the device.
    std::string ChangeRequest(std::uint32_t stream, bool resolution, const std::string& rest) const;

    /// The rate control of a codec with both modes ("h264", "mpeg4"), by the settings file as it stands now.
    std::string RateControlPieces(std::uint32_t stream, const char* codec, float upper, float lower) const;

    std::uint32_t FrameRate() const { return FrameRateFromInterval(settings_.frameIntervalMs); }

    /// Sends a GET; true if a response with a status of 2xx came, whose body is then in `response`.
    bool Request(const std::string& uri, std::string& response);

    Web::CHttpClient httpClient_;
    std::unique_ptr<CRTPMediaParser>
        codecParser_; ///< gets the stream's packets; set by the subclass's constructor

private:
    enum class SensorMode : std::uint32_t
    {
        kFrameRate = 0,
        kQuality = 1,
        kUnknown = 3,
    };

    bool CheckSensorMode();
    void ReadSensorMode();
    bool SendChange(bool resolution, bool frameRate);

    std::uint32_t streamNumber_ = 0; // that the last ConfigureDevice settled on
    SensorMode sensorMode_ = SensorMode::kUnknown;
};

} // namespace korvane
