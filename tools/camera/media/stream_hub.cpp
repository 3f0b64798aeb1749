#include "camera/media/stream_hub.h"

namespace larkmoor::camera
{

std::shared_ptr<VideoStream> StreamHub::Stream(StreamId id)
{
    const std::lock_guard guard(lock_);
    auto& stream = streams_[id];
    if (!stream)
        stream =
            std::make_shared<VideoStream>(context_, id, SceneLocked(id.channel), source_, loops_, player_);
    return stream;
}

std::shared_ptr<AudioStream> StreamHub::Audio(StreamId id)
{
    const std::lock_guard guard(lock_);
    auto& audio = audio_[id];
    if (!audio)
        audio = std::make_shared<AudioStream>(context_, id);
    return audio;
}

std::shared_ptr<AudioStream> StreamHub::FindAudio(StreamId id) const
{
    const std::lock_guard guard(lock_);
    const auto found = audio_.find(id);
    return found == audio_.end() ? nullptr : found->second;
}

std::shared_ptr<Scene> StreamHub::SceneOf(std::uint32_t channel)
{
    const std::lock_guard guard(lock_);
    return SceneLocked(channel);
}

std::shared_ptr<Scene> StreamHub::SceneLocked(std::uint32_t channel)
{
    auto& scene = scenes_[channel];
    if (!scene)
        scene = std::make_shared<Scene>("LARKMOOR CAMERA  CH " + std::to_string(channel + 1));
    return scene;
}

std::vector<std::shared_ptr<VideoStream>> StreamHub::Streams() const
{
    const std::lock_guard guard(lock_);
    std::vector<std::shared_ptr<VideoStream>> all;
    for (const auto& [id, stream] : streams_)
        all.push_back(stream);
    return all;
}

} // namespace larkmoor::camera
