#include "channels/mjpeg_channel_http.h"

#include "channels/mjpeg_encoder_request.h"
#include "http/param_text.h"
#include "http/send_request.h"
#include "runtime/device_properties.h"
#include "runtime/stream_path_table.h"
#include "runtime/text.h"

#include <algorithm>
#include <vector>

namespace korvane
{

namespace
{

constexpr std::uint32_t kRetryMs = 1000;
constexpr std::uint32_t kSlowRetryMs = 5000; // a device that refuses its settings is not to be hammered
constexpr std::uint32_t kAttemptsBeforeSlow = 3;

constexpr std::uint32_t kSensorModePolls = 20; // a sensor restarts in some seconds
constexpr std::uint32_t kSensorModePollMs = 500;

constexpr std::size_t kBlockBytes = 8096;

} // namespace

/// An HTTP client that a stop can interrupt for as long as it stands.
class CMJPEGChannelHTTP::CurrentClient
{
public:
    explicit CurrentClient(CMJPEGChannelHTTP& channel)
        : channel_(channel), client_(channel.driver_->GetDeviceInfo(), Web::CWinINetHttpClient::kUserAgent)
    {
        const CLockGuard guard(channel_.clientLock_);
        channel_.httpClient_ = &client_;
    }
    ~CurrentClient()
    {
        const CLockGuard guard(channel_.clientLock_);
        channel_.httpClient_ = nullptr;
    }
    CurrentClient(const CurrentClient&) = delete;
    CurrentClient& operator=(const CurrentClient&) = delete;

    Web::CWinINetHttpClient& operator*() { return client_; }

private:
    CMJPEGChannelHTTP& channel_;
    Web::CWinINetHttpClient client_;
};

CMJPEGChannelHTTP::CMJPEGChannelHTTP(std::uint32_t channel, IDriver* driver,
                                     ipcapture::IHostChannelClient* client)
    : CBaseCameraChannel(channel, driver, client),
      cameraType_(static_cast<std::uint32_t>(driver->GetPropertyInt(kCameraTypeProperty))),
      legacyInterface_(driver->GetPropertyText(kLegacyInterfaceProperty) == "1"),
      parser_(driver)
{
}

bool CMJPEGChannelHTTP::OnMediaFrame(ipcapture::IHostFrame* frame)
{
    if (IsStopping())
        parser_.SetReceiver(nullptr); // the other pictures of the block must not hold up the stop
    if (!SendFrameToHost(frame))
        return false;
    TouchLastFrame();
    SetCameraState(true);
    return true;
}

std::uint32_t CMJPEGChannelHTTP::Run()
{
    attempts_ = 0;
    parser_.SetReceiver(this);
    SetChannelState(kChannelConnecting);
    while (!stopEvent_.Wait(attempts_ < kAttemptsBeforeSlow ? kRetryMs : kSlowRetryMs))
    {
        ++attempts_;
        if (Attempt())
            continue; // ended by the stop event
        SetChannelState(kChannelConnecting);
        if (GetLastFrameAgeMs() > driver_->GetDeviceInfo().signalLossTimeoutMs / 2)
            SetCameraState(false);
    }
    SetChannelState(kChannelStopped);
    SetCameraState(false);
    return 0;
}

bool CMJPEGChannelHTTP::Attempt()
{
    try
    {
        if (!Configure())
            return false;
        attempts_ = 0;
        SetChannelState(kChannelRunning);
        return RunStream();
    }
    catch (...) // no memory for a frame or a text: as good as a lost connection, and tried again
    {
        return false;
    }
}

void CMJPEGChannelHTTP::OnStopRequested()
{
    const CLockGuard guard(clientLock_);
    if (httpClient_ != nullptr)
        httpClient_->CloseRequest();
}

bool CMJPEGChannelHTTP::Configure()
{
    return legacyInterface_ ? ConfigureLegacy() : ConfigureCurrent();
}

bool CMJPEGChannelHTTP::ConfigureCurrent()
{
    if (cameraType_ == MjpegRequest::kNumericResolutions && !CheckSensorMode())
        return false;
    const std::string resolution = MjpegRequest::ResolutionText(cameraType_, settings_);
    if (resolution.empty())
        return false; // the device could not be told the size that the host wants
    const bool fieldToFrame = driver_->GetPropertyText(kFieldToFrameProperty) == "1";
    const std::string request = MjpegRequest::Encoder(channel_, settings_, resolution, fieldToFrame);
    CurrentClient client(*this);
    return IsStopping() || (*client).SendRequest("GET", request);
}

bool CMJPEGChannelHTTP::ConfigureLegacy()
{
    CurrentClient client(*this);
    std::vector<std::uint8_t> response;
    if (!Utils::SendRequestEx(*client, "/cgi-bin/admin/getparam.cgi?video", response, true))
        return false;
    const std::string parameters(reinterpret_cast<const char*>(response.data()));
    const std::string request =
        MjpegRequest::LegacyEncoder(channel_, settings_, Utils::RemoveChars(parameters, "' "));
    return request.empty() || (*client).SendRequest("GET", request);
}

bool CMJPEGChannelHTTP::CheckSensorMode()
{
    const std::string optionsName = Utils::FormatString("videoin_c%u_options", channel_);
    const std::string resolutionName = Utils::FormatString("videoin_c%u_s0_resolution", channel_);
    const std::string wanted = MjpegRequest::SensorMode(settings_.width);

    CurrentClient client(*this);
    std::string mode;
    if (!ReadParameter(*client, optionsName, mode))
        return false;
    if (mode.empty() || mode == wanted)
        return true;

    // The mode changes only from another size than 800x600, to which the device goes by itself when it has
    // changed.
    std::string resolution;
    if (!ReadParameter(*client, resolutionName, resolution))
        return false;
    const std::string setParameter = "/cgi-bin/admin/setparam.cgi?";
    if (resolution == "800x600" && !SendUnlessStopping(*client, setParameter + resolutionName + "=640x480"))
        return false;
    if (!SendUnlessStopping(*client, setParameter + optionsName + "=" + wanted))
        return false;
    for (std::uint32_t poll = 0; poll < kSensorModePolls; ++poll)
    {
        if (stopEvent_.Wait(kSensorModePollMs) || !ReadParameter(*client, resolutionName, resolution))
            return false;
        if (resolution == "800x600")
            return true;
    }
    return false;
}

bool CMJPEGChannelHTTP::ReadParameter(Web::CWinINetHttpClient& client, const std::string& name,
                                      std::string& value)
{
    std::vector<std::uint8_t> response;
    if (!Utils::SendRequestEx(client, "/cgi-bin/admin/getparam.cgi?" + name, response, true))
        return false;
    const std::string_view text(reinterpret_cast<const char*>(response.data()));
    value = Utils::RemoveChars(Utils::GetParamValue(text, name), "'");
    return true;
}

bool CMJPEGChannelHTTP::SendUnlessStopping(Web::CWinINetHttpClient& client, const std::string& uri)
{
    return !IsStopping() && client.SendRequest("GET", uri);
}

std::string CMJPEGChannelHTTP::StreamPath() const
{
    if (legacyInterface_)
        return MjpegRequest::LegacyStreamPath(channel_, settings_);
    return CStreamPathTable(driver_->GetPropertyText(kStreamsProperty)).HttpPath(channel_, 0);
}

bool CMJPEGChannelHTTP::RunStream()
{
    const std::string path = StreamPath();
    if (path.empty())
        return false;
    CurrentClient client(*this);
    return !IsStopping() && (*client).SendRequest("GET", path) && ReadStream(*client);
}

bool CMJPEGChannelHTTP::ReadStream(Web::CWinINetHttpClient& client)
{
    std::vector<std::uint8_t> block(kBlockBytes);
    while (!IsStopping())
    {
        if (const std::uint32_t available = client.QueryDataAvailable(); available > block.size())
            block.resize(available); // bounded by what the client holds ready
        const std::uint32_t count = client.ReadData(block.data(), static_cast<std::uint32_t>(block.size()));
        if (count == 0)
            return false;
        block.resize(count);
        parser_.ParseData(block);
    }
    return true;
}

} // namespace korvane
