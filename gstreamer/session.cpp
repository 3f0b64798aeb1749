#include "gstreamer/session.h"

#include "gstreamer/problem.h"

#include <future>
#include <thread>
#include <utility>

namespace larkmoor::gst
{

using namespace korvane::ipcapture;

namespace
{

constexpr std::uint32_t kStreamingAudio = 2;

std::vector<std::uint32_t> Formats(AudioChoice choice)
{
    switch (choice)
    {
    case AudioChoice::Aac:
        return {kFormatAac};
    case AudioChoice::G711:
        return {kFormatG711MuLaw, kFormatG711ALaw};
    case AudioChoice::G726:
        return {kFormatG726};
    default:
        return {kFormatAac, kFormatG711MuLaw, kFormatG711ALaw, kFormatG726};
    }
}

} // namespace

bool Session::VideoClient::DeliverFrame(IHostFrame* frame)
{
    return frame != nullptr && session_.picture_->Deliver(static_cast<MediaFrame&>(*frame));
}

void Session::VideoClient::SignalLost()
{
    session_.picture_->Interrupt();
    session_.notices_->Put({Notice::Kind::SignalLost, session_.channel_, 0, ""});
}

Session::AudioClient::AudioClient(Session& session, AudioChoice choice) : session_(session)
{
    for (const std::uint32_t code : Formats(choice))
        items_.emplace_back(code);
}

bool Session::AudioClient::AudioFrame(IHostFrame* frame)
{
    return frame != nullptr && session_.sound_->Deliver(static_cast<MediaFrame&>(*frame));
}

void Session::AudioClient::StateChanged(std::uint32_t, std::uint32_t state)
{
    if (state != kStreamingAudio)
        session_.sound_->Interrupt();
}

IHostCodecItem* Session::AudioClient::GetItem(std::uint32_t index)
{
    return index < items_.size() ? &items_[index] : nullptr;
}

void Session::IOClient::InputChanged(std::uint32_t number, std::uint32_t state)
{
    notices_.Put({Notice::Kind::Input, number, state, ""});
}

Session::Session(std::shared_ptr<const DriverLibrary> library, host::Device device,
                 const SourceSettings& settings, std::shared_ptr<Stream> picture,
                 std::shared_ptr<Stream> sound, std::shared_ptr<Notices> notices)
    : library_(std::move(library)),
      device_(std::move(device)),
      channel_(settings.channel),
      quality_(settings.quality),
      canChange_(settings.transport != TransportChoice::Http &&
                 settings.transport != TransportChoice::Multicast),
      picture_(std::move(picture)),
      sound_(std::move(sound)),
      notices_(std::move(notices)),
      videoClient_(*this),
      audioClient_(*this, settings.audio),
      ioClient_(*notices_),
      wish_(settings.picture)
{
    driver_ = library_->create();
    if (driver_ == nullptr)
        throw Problem(GST_RESOURCE_ERROR_NO_SPACE_LEFT, "the library makes no driver");
    host::DeviceSettings deviceSettings(device_);
    if (!driver_->Open(notices_.get(), &allocator_, &deviceSettings))
    {
        driver_->Close();
        library_->destroy(driver_);
        throw Problem(GST_RESOURCE_ERROR_SETTINGS,
                      "the driver does not open the device: property 1 is not a number");
    }
    controls_.Open(driver_, &ioClient_);
}

host::ChannelSettings Session::Wish() const
{
    return {{static_cast<std::uint16_t>(wish_.width), static_cast<std::uint16_t>(wish_.height)},
            static_cast<std::uint16_t>(wish_.intervalMs),
            static_cast<std::uint16_t>(quality_)};
}

bool Session::StartVideo()
{
    host::ChannelSettings wish = Wish();
    return driver_->GetVideoCapture()->StartChannel(channel_, &videoClient_, &wish);
}

void Session::Start()
{
    const std::lock_guard guard(videoLock_);
    if (!StartVideo())
        throw Problem(GST_RESOURCE_ERROR_FAILED, "the driver can't start the video channel");
    if (sound_ == nullptr)
        return;
    IIPAudioCapture2* const audio = driver_->GetAudioCapture();
    if (audio == nullptr || !audio->StartChannel(0, channel_, &audioClient_, &audioClient_))
        throw Problem(GST_RESOURCE_ERROR_FAILED, "the driver can't start the audio channel");
}

void Session::Change(const PictureWish& wish)
{
    const std::lock_guard guard(videoLock_);
    if (wish == wish_)
        return;
    wish_ = wish;
    if (canChange_)
    {
        host::ChannelSettings resolution = Wish();
        driver_->GetVideoCapture()->ChangeChannel(channel_, &resolution, wish_.intervalMs);
        return;
    }
    driver_->GetVideoCapture()->StopChannel(channel_);
    StartVideo(); // false: no threads, which the log tells; the channel state says that it is stopped
}

std::uint32_t Session::ChannelState()
{
    const std::lock_guard guard(videoLock_);
    std::uint32_t state = kChannelStopped;
    std::uint32_t detail = 0;
    driver_->GetVideoCapture()->GetChannelState(channel_, &state, &detail, nullptr, 0);
    return state;
}

void Session::CloseAll()
{
    // Each may take its 2 s; together they take no longer.
    std::thread sound(
        [this]
        {
            if (sound_ != nullptr && driver_->GetAudioCapture() != nullptr)
                driver_->GetAudioCapture()->StopChannel(0);
        });
    std::thread controls([this] { controls_.Close(); });
    {
        const std::lock_guard guard(videoLock_);
        driver_->GetVideoCapture()->StopChannel(channel_);
    }
    sound.join();
    controls.join();
    driver_->Close();
    library_->destroy(driver_);
}

bool Session::Close(std::shared_ptr<Session> session, std::chrono::milliseconds patience)
{
    auto ended = std::make_shared<std::promise<void>>();
    std::future<void> end = ended->get_future();
    std::thread closer(
        [session = std::move(session), ended]() mutable
        {
            session->CloseAll();
            session.reset(); // first: whoever waits may look for what is left
            ended->set_value();
        });
    const bool hasEnded = end.wait_for(patience) == std::future_status::ready;
    if (hasEnded)
        closer.join();
    else
        closer.detach();
    return hasEnded;
}

} // namespace larkmoor::gst
