#include "camera/media/live_encoder.h"

#include "camera/media/test_picture.h"
#include "camera/media/video_encoder.h"

#include <utility>

namespace larkmoor::camera
{
namespace
{

using SteadyClock = std::chrono::steady_clock;

/// Behind by more than this, frames are left out: a camera that cannot keep up must not send ever later ones.
constexpr std::chrono::milliseconds kLargestEncoderLag{500};

/// An open encoder with the picture that it works on.
struct Workshop
{
    explicit Workshop(std::unique_ptr<VideoEncoder> opened)
        : encoder(std::move(opened)),
          picture(static_cast<int>(encoder->Settings().width), static_cast<int>(encoder->Settings().height)),
          interval(std::chrono::nanoseconds(std::chrono::seconds(1)) / encoder->Settings().frameRate)
    {
    }

    std::unique_ptr<VideoEncoder> encoder;
    TestPicture picture;
    std::chrono::nanoseconds interval;
};

std::unique_ptr<Workshop> OpenWorkshop(const VideoSettings& settings)
{
    auto encoder = VideoEncoder::Open(settings);
    if (!encoder)
        return nullptr;
    return std::make_unique<Workshop>(std::move(encoder));
}

} // namespace

std::string NoteOf(const VideoSettings& settings)
{
    std::string note = std::to_string(settings.width) + "x" + std::to_string(settings.height) + " " +
                       std::to_string(settings.frameRate) + "fps " + NameOf(settings.codec);
    if (settings.codec != VideoCodec::MotionJpeg && settings.rateControl == RateControl::ConstantBitrate)
        return note + " " + std::to_string(settings.bitrate / 1000) + "kbit/s";
    return note + " q" + std::to_string(settings.quantizer);
}

LiveEncoder::LiveEncoder(std::shared_ptr<const Scene> scene, std::string name, const VideoSettings& settings,
                         Output output)
    : scene_(std::move(scene)),
      name_(std::move(name)),
      output_(std::move(output)),
      settings_(settings),
      thread_([this] { Run(); })
{
}

LiveEncoder::~LiveEncoder()
{
    {
        const std::lock_guard guard(lock_);
        stop_ = true;
    }
    wake_.notify_all();
    thread_.join();
}

void LiveEncoder::Change(const VideoSettings& settings)
{
    {
        const std::lock_guard guard(lock_);
        changed_ = changed_ || !(settings == settings_);
        settings_ = settings;
    }
    wake_.notify_all();
}

void LiveEncoder::Run()
{
    std::unique_lock held(lock_);
    VideoSettings settings = settings_;
    held.unlock();
    auto workshop = OpenWorkshop(settings);
    MediaFrame frame;
    auto due = SteadyClock::now();
    for (;;)
    {
        held.lock();
        const auto isCalled = [this] { return stop_ || changed_; };
        if (workshop)
            wake_.wait_until(held, due, isCalled);
        else
            wake_.wait(held, isCalled); // settings that no encoder takes give no pictures until they change
        if (stop_)
            return;
        const bool reopen = std::exchange(changed_, false);
        settings = settings_;
        held.unlock();
        if (reopen)
        {
            workshop = OpenWorkshop(settings);
            due = SteadyClock::now();
        }
        if (!workshop)
            continue;

        frame.captured = std::chrono::system_clock::now();
        Canvas& picture =
            workshop->picture.Draw(scene_->State(), name_ + " " + NoteOf(workshop->encoder->Settings()),
                                   frame.number, frame.captured);
        frame.encoded =
            workshop->encoder->Encode(picture, keyWanted_.exchange(false, std::memory_order_relaxed));
        if (!frame.encoded)
        {
            workshop.reset();
            continue;
        }
        if (!output_(frame))
            RequestKey();
        do
        {
            due += workshop->interval;
            frame.mediaTime += workshop->interval;
            ++frame.number;
        } while (SteadyClock::now() > due + kLargestEncoderLag);
    }
}

} // namespace larkmoor::camera
