#include "plugin/ip_capture_driver.h"

#include "device/bastrel_supported_features.h"
#include "device/host_call.h"
#include "runtime/debug_info.h"
#include "runtime/guarded.h"
#include "runtime/text.h"

#include <cstdarg>

namespace korvane
{

namespace
{

/// Taken when the host's core library tells no version: the oldest that knows all levels up to information.
constexpr platform::ProductVersion kAssumedHostVersion{5, 12, 0, 0};

/// A host that never ends its list of properties must not hold up `Open`; the known ones end at 18.
constexpr std::uint32_t kMostProperties = 4096;

std::string TextOf(const char* text)
{
    return text == nullptr ? std::string() : std::string(text);
}

} // namespace

bool CIPCaptureDriver::Open(ipcapture::IHostSink* hostSink, ipcapture::IHostFrameAllocator* frameAllocator,
                            ipcapture::IHostDeviceSettings* deviceSettings)
{
    if (deviceSettings == nullptr)
        return false;
    return Guarded(false,
                   [&]
                   {
                       hostSink_ = hostSink;
                       frameAllocator_ = frameAllocator;
                       return OpenDevice(*deviceSettings);
                   });
}

bool CIPCaptureDriver::OpenDevice(ipcapture::IHostDeviceSettings& deviceSettings)
{
    auto* const connection = AskHost([&] { return deviceSettings.GetConnection(); });
    auto* const description = AskHost([&] { return deviceSettings.GetDescription(); });
    if (connection == nullptr || description == nullptr)
        return false;
    codec_ = AskHost([=] { return connection->GetCodec(); });
    ioCounts_.first = AskHost([=] { return description->GetInputCount(); });
    ioCounts_.second = AskHost([=] { return description->GetOutputCount(); });
    channelCount_ = AskHost([=] { return description->GetChannelCount(); });
    // One by one: hosts may log the calls.
    const std::string address = TextOf(AskHost([=] { return connection->GetAddress(); }));
    const std::uint16_t port = AskHost([=] { return connection->GetPort(); });
    const std::string user = TextOf(AskHost([=] { return connection->GetUser(); }));
    const std::string password = TextOf(AskHost([=] { return connection->GetPassword(); }));
    const std::string model = TextOf(AskHost([=] { return description->GetModel(); }));
    device_ = DEVICE_INFO(address, port, user, password, model);
    ReadProperties(deviceSettings);
    hostDirectory_ = platform::HostDirectory();
    hostVersion_ = platform::ReadProductVersion(kHostCoreLibrary).value_or(kAssumedHostVersion);

    if (io_ == nullptr)
        ConstructIO();
    if (ptz_ == nullptr && !ConstructPTZ())
        return false;
    ConstructAudio(deviceSettings);
    videoCapture_ = std::make_unique<CIPVideoCapture>(this, channelCount_);
    return true;
}

void CIPCaptureDriver::ReadProperties(ipcapture::IHostDeviceSettings& deviceSettings)
{
    properties_.clear();
    for (std::uint32_t number = 1; number <= kMostProperties; ++number)
    {
        const char* const text = AskHost([&] { return deviceSettings.GetParameter(number); });
        if (text == nullptr)
            return; // numbers behind a gap are not seen
        properties_[number] = text;
    }
}

void CIPCaptureDriver::Close()
{
    Guarded([this] { RequestStop(); }); // one that finds no memory must not keep the rest from ending
    Guarded(
        [&]
        {
            DestructAudio();
            DeleteObjects();
        });
    hostSink_ = nullptr; // the host's objects may go from now on
    frameAllocator_ = nullptr;
}

void CIPCaptureDriver::RequestStop()
{
    {
        const CLockGuard guard(videoLock_);
        if (videoCapture_ != nullptr)
            videoCapture_->RequestStop();
    }
    if (ptz_ != nullptr)
        ptz_->BeginClose();
}

void CIPCaptureDriver::DeleteObjects()
{
    std::unique_ptr<CIPVideoCapture> videoCapture;
    {
        const CLockGuard guard(videoLock_);
        videoCapture.swap(videoCapture_);
    }
    leavingVideo_.reset();
    if (videoCapture != nullptr && !videoCapture->StopAll())
        leavingVideo_ = std::move(videoCapture);
    videoCapture.reset();
    if (io_ != nullptr)
        io_->StopIO(); // also from inside a call of its own, which it then outlives
    io_.reset();
    ptz_.reset();
}

std::string CIPCaptureDriver::GetDeviceName() const
{
    return device_.address + Utils::FormatString(":%hu", device_.port);
}

void CIPCaptureDriver::DebugMessage(std::int32_t level, const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    try
    {
        const std::string text = Utils::FormatStringList(format, arguments);
        if (level == kLevelDebugTrace)
            platform::WriteDebugText(text + "\r\n");
        else if (ipcapture::IHostSink* const sink = hostSink_)
        {
            CDebugInfo message(HostMessageLevel(level, hostVersion_), text.c_str());
            CallHost([&] { sink->WriteMessage(&message); });
        }
    }
    catch (...) // no memory: a message is never a reason to fail
    {
    }
    va_end(arguments);
}

std::string CIPCaptureDriver::GetPropertyText(std::uint32_t number) const
{
    const auto found = properties_.find(number);
    return found == properties_.end() || found->second == "(none)" ? std::string() : found->second;
}

std::int32_t CIPCaptureDriver::GetPropertyInt(std::uint32_t number) const
{
    std::int32_t value = 0;
    return Utils::IsInteger(GetPropertyText(number), value) ? value : kNoProperty;
}

ChannelSettings CIPCaptureDriver::GetChannelSettings(std::uint32_t channel) const
{
    const CLockGuard guard(videoLock_);
    return videoCapture_ == nullptr ? ChannelSettings() : videoCapture_->GetChannelSettings(channel);
}

void CIPCaptureDriver::LogDriverOpened(ipcapture::IHostDeviceSettings& deviceSettings,
                                       const std::string& driverName, const std::string& firmware)
{
    auto* const connection = AskHost([&] { return deviceSettings.GetConnection(); });
    if (driverName.empty() || connection == nullptr)
        return;
    std::string line = "DRIVER IS OPENED (name: " + driverName + ", device model: " + device_.model;
    if (!firmware.empty())
        line += ", FW: " + firmware;
    line += ", address: " + TextOf(AskHost([=] { return connection->GetAddress(); }));
    const std::uint16_t port = AskHost([=] { return connection->GetPort(); });
    DebugMessage(kLevelExtended, "%s:%u)", line.c_str(), static_cast<unsigned>(port));
}

} // namespace korvane
