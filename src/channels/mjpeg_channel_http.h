#pragma once

#include "channels/base_camera_channel.h"
#include "device/device_properties.h"
#include "http/http_client.h"
#include "parsers/jpeg_media_parser.h"

#include <cstdint>
#include <memory>

namespace korvane
{

/// Motion JPEG over plain HTTP: sets the device's encoder, reads one long response, and passes on the
/// pictures in it. All of it on the channel's thread. A stream that ends for whatever reason is set up anew,
/// after 1 s, or after 5 s once three attempts in a row did not get as far as the stream.
class CMJPEGChannelHTTP final : public CBaseCameraChannel, public IMediaReceiver
{
public:
    CMJPEGChannelHTTP(std::uint32_t channel, IDriver* driver, ipcapture::IHostChannelClient* client);

    /// For the parser, on the channel's thread. True if the host took the frame.
    bool OnMediaFrame(ipcapture::IHostFrame* frame) override;
    bool WantsFrames() override { return !IsStopping(); }

protected:
    CSetUp::Needs Prepare() override { return {.descriptors = 3}; } // an HTTP exchange
    std::uint32_t Run() override;

    /// Ends the response that is being read, so that a silent device doesn't hold up the stop.
    void OnStopRequested() override;

private:
    std::shared_ptr<Web::CWinINetHttpClient> MakeClient();
    bool Attempt();
    bool ConfigureCurrent();
    bool ConfigureLegacy();
    bool CheckSensorMode();
    bool RunStream();
    bool ReadStream(Web::CWinINetHttpClient& client);

    const DeviceFacts device_;
    std::uint32_t attempts_ = 0; // in a row that did not reach the stream
    CJpegMediaParser parser_;    // with its half-made frame it outlives a reconnection

    CRecursiveLock clientLock_; // guards the pointer
    std::weak_ptr<Web::CWinINetHttpClient> httpClient_;
};

} // namespace korvane
