#include "channels/mjpeg_channel_http.h"

#include "channels/encoder_request.h"
#include "http/send_request.h"
#include "runtime/param_text.h"
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

constexpr std::uint32_t kWidestAtFrameRate = 800; // a wider picture needs the sensor mode "quality"
constexpr std::uint32_t kSensorModePolls = 20;    // a sensor restarts in some seconds
constexpr std::uint32_t kSensorModePollMs = 500;

constexpr std::size_t kBlockBytes = 8096;

bool ReadParameter(Web::CWinINetHttpClient& client, const std::string& name, std::string& value)
{
    std::string text;
    if (!CameraCgi::Read(client, name, text))
        return false;
    value = Utils::RemoveChars(Utils::GetParamValue(text, name), "'");
    return true;
}

} // namespace

CMJPEGChannelHTTP::CMJPEGChannelHTTP(std::uint32_t channel, IDriver* driver,
                                     ipcapture::IHostChannelClient* client)
    : CBaseCameraChannel(channel, driver, client), device_(*driver), parser_(driver)
{
}

bool CMJPEGChannelHTTP::OnMediaFrame(ipcapture::IHostFrame* frame)
{
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
    while (!stopEvent_.Wait(attempts_ < kAttemptsBeforeSlow || setUp_.IsShort() ? kRetryMs : kSlowRetryMs))
    {
        if (setUp_.IsDue() && Attempt())
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
    ++attempts_;
    return setUp_.Try(
        [this]
        {
            if (device_.isLegacy ? !ConfigureLegacy() : !ConfigureCurrent())
                return false;
            attempts_ = 0;
            SetChannelState(kChannelRunning);
            return RunStream();
        });
}

/// One that a stop can interrupt for as long as the caller holds it.
std::shared_ptr<Web::CWinINetHttpClient> CMJPEGChannelHTTP::MakeClient()
{
    const auto client = std::make_shared<Web::CWinINetHttpClient>(driver_->GetDeviceInfo());
    const CLockGuard guard(clientLock_);
    httpClient_ = client;
    return client;
}

void CMJPEGChannelHTTP::OnStopRequested()
{
    std::shared_ptr<Web::CWinINetHttpClient> client; // may be the last owner, and goes without the lock then
    const CLockGuard guard(clientLock_);
    client = httpClient_.lock();
    if (client != nullptr)
        client->CloseRequest();
}

bool CMJPEGChannelHTTP::ConfigureCurrent()
{
    if (device_.notation == ResolutionNotation::Numeric && !CheckSensorMode())
        return false;
    const CEncoderRequest request(kMjpegOverHttpEncoder, device_, settings_, channel_, 0);
    const std::string size = request.Size();
    if (size.empty() || size.ends_with('='))
        return false; // the device could not be told the size that the host wants
    const std::string items = request.Codec() + size + request.FrameRate() + request.Quality();
    const auto client = MakeClient();
    return IsStopping() || client->SendRequest("GET", CameraCgi::kSetParam + items.substr(1));
}

bool CMJPEGChannelHTTP::ConfigureLegacy()
{
    const auto client = MakeClient();
    std::string parameters;
    if (!CameraCgi::Read(*client, "video", parameters))
        return false;
    const std::string changes = LegacyMjpegChanges(channel_, settings_, Utils::RemoveChars(parameters, "' "));
    return changes.empty() || client->SendRequest("GET", CameraCgi::kSetParam + changes);
}

bool CMJPEGChannelHTTP::CheckSensorMode()
{
    const std::string optionsName = Utils::FormatString("videoin_c%u_options", channel_);
    const std::string resolutionName = Utils::FormatString("videoin_c%u_s0_resolution", channel_);
    const std::string wanted = settings_.width > kWidestAtFrameRate ? "quality" : "framerate";

    const auto client = MakeClient();
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
    const auto set = [&](const std::string& change)
    { return !IsStopping() && client->SendRequest("GET", CameraCgi::kSetParam + change); };
    if (resolution == "800x600" && !set(resolutionName + "=640x480"))
        return false;
    if (!set(optionsName + "=" + wanted))
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

bool CMJPEGChannelHTTP::RunStream()
{
    const std::string path = device_.isLegacy ? LegacyMjpegPath(channel_, settings_)
                                              : CStreamPathTable::At(device_.streams.http, channel_, 0);
    if (path.empty())
        return false;
    const auto client = MakeClient();
    if (IsStopping() || !client->SendRequest("GET", path))
        return false;
    setUp_.Succeed();
    return ReadStream(*client);
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
