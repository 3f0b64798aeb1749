#include "camera/media/video_stream.h"

#include "camera/media/test_picture.h"
#include "camera/media/video_encoder.h"

#include <boost/asio/post.hpp>

#include <algorithm>
#include <atomic>
#include <utility>

namespace larkmoor::camera
{
namespace
{

/// Frames that may wait for the io_context's thread; at 25 frames a second more than a second's worth.
constexpr int kMostFramesUnderWay = 32;

/// The parameter sets that an encoder with these settings sends. MPEG-4 shows its own only with the first
/// picture.
std::shared_ptr<const ParameterSets> ReadParameters(const VideoSettings& settings)
{
    const auto encoder = VideoEncoder::Open(settings);
    if (!encoder)
        return nullptr;
    if (settings.codec == VideoCodec::Mpeg4)
    {
        Canvas blank(static_cast<int>(encoder->Settings().width),
                     static_cast<int>(encoder->Settings().height));
        if (!encoder->Encode(blank, true))
            return nullptr;
    }
    return encoder->Parameters();
}

} // namespace

VideoStream::VideoStream(boost::asio::io_context& context, StreamId id, std::shared_ptr<const Scene> scene,
                         VideoSource source, CannedLoops& loops, CannedPlayer& player)
    : context_(context), id_(id), scene_(std::move(scene)), source_(source), loops_(loops), player_(player)
{
}

void VideoStream::Configure(const VideoSettings& settings)
{
    {
        const std::lock_guard guard(lock_);
        if (settings == settings_)
            return;
        settings_ = settings;
    }
    if (const auto live = Live())
        live->Change(settings);
    if (source_ != VideoSource::Live)
    {
        boost::asio::post(context_,
                          [weak = weak_from_this()]
                          {
                              if (const auto self = weak.lock())
                                  self->ChangeLoop();
                          });
    }
}

VideoSettings VideoStream::Settings() const
{
    const std::lock_guard guard(lock_);
    return settings_;
}

std::shared_ptr<LiveEncoder> VideoStream::Live() const
{
    const std::lock_guard guard(lock_);
    return live_;
}

std::shared_ptr<const ParameterSets> VideoStream::Parameters()
{
    const VideoSettings settings = Settings();
    if (!describedSettings_ || !(*describedSettings_ == settings))
    {
        described_ = ReadParameters(settings);
        describedSettings_ = settings;
    }
    return described_;
}

void VideoStream::Subscribe(FrameSubscriber& subscriber)
{
    Subscription subscription{&subscriber, 0};
    if (source_ == VideoSource::Live)
    {
        if (Live())
            RequestKey();
        else
            StartLive();
    }
    else if (auto loop = loops_.Get(Settings()))
    {
        subscription.play = player_.Start(std::move(loop), [&subscriber](const MediaFrame& frame)
                                          { subscriber.OnFrame(frame); });
    }
    subscriptions_.push_back(subscription);
}

void VideoStream::Unsubscribe(FrameSubscriber& subscriber)
{
    for (Subscription& subscription : subscriptions_)
    {
        if (subscription.subscriber != &subscriber)
            continue;
        player_.Stop(subscription.play);
        subscription.subscriber = nullptr;
    }
    Sweep();
}

/// Forgets who has left, and ends the encoder with the last one; in the middle of a round that has to wait.
void VideoStream::Sweep()
{
    if (publishing_)
        return;
    std::erase_if(subscriptions_, [](const Subscription& each) { return each.subscriber == nullptr; });
    if (!subscriptions_.empty())
        return;
    std::shared_ptr<LiveEncoder> ended;
    {
        const std::lock_guard guard(lock_);
        ended = std::exchange(live_, nullptr);
    }
    work_.reset();
}

void VideoStream::StartLive()
{
    // The count outlives the stream: frames may still be under way when it goes.
    const auto underWay = std::make_shared<std::atomic<int>>(0);
    auto output = [&context = context_, weak = weak_from_this(), underWay](const MediaFrame& frame)
    {
        if (underWay->load(std::memory_order_relaxed) >= kMostFramesUnderWay)
            return false;
        underWay->fetch_add(1, std::memory_order_relaxed);
        boost::asio::post(context,
                          [weak, underWay, frame]
                          {
                              underWay->fetch_sub(1, std::memory_order_relaxed);
                              if (const auto self = weak.lock())
                                  self->Publish(frame);
                          });
        return true;
    };
    work_.emplace(context_.get_executor());
    auto live = std::make_shared<LiveEncoder>(scene_, id_.Text(), Settings(), std::move(output));
    const std::lock_guard guard(lock_);
    live_ = std::move(live);
}

void VideoStream::Publish(const MediaFrame& frame)
{
    publishing_ = true;
    for (std::size_t i = 0; i < subscriptions_.size(); ++i) // by index: a subscriber may bring another
    {
        if (FrameSubscriber* const subscriber = subscriptions_[i].subscriber)
            subscriber->OnFrame(frame);
    }
    publishing_ = false;
    Sweep();
}

void VideoStream::ChangeLoop()
{
    const auto loop = loops_.Get(Settings());
    if (!loop)
        return;
    for (const Subscription& subscription : subscriptions_)
        player_.Change(subscription.play, loop);
}

void VideoStream::Pull(FrameSubscriber& subscriber)
{
    for (const Subscription& subscription : subscriptions_)
    {
        if (subscription.subscriber == &subscriber)
        {
            player_.Pull(subscription.play);
            return;
        }
    }
}

void VideoStream::RequestKey()
{
    if (const auto live = Live())
        live->RequestKey();
}

} // namespace larkmoor::camera
