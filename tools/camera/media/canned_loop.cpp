#include "camera/media/canned_loop.h"

#include "camera/media/live_encoder.h"
#include "camera/media/test_picture.h"
#include "camera/media/video_encoder.h"

#include <algorithm>

namespace larkmoor::camera
{
namespace
{

constexpr std::size_t kMostLoops = 16;        // of megabytes each; settings beyond that push out the oldest
constexpr std::uint32_t kLeastFrames = 50;    // shorter loops repeat visibly
constexpr std::uint32_t kMostFrames = 10'000; // whatever the key interval

std::shared_ptr<const CannedLoop> Encode(const VideoSettings& settings)
{
    const auto encoder = VideoEncoder::Open(settings);
    if (!encoder)
        return nullptr;
    const VideoSettings& actual = encoder->Settings();
    const std::uint32_t group = std::max(1u, actual.frameRate * actual.keyInterval / 1000);
    std::uint32_t count = 2 * group;
    while (count < kLeastFrames)
        count += 2 * group;
    count = std::min(count, kMostFrames);

    auto loop = std::make_shared<CannedLoop>();
    loop->interval = std::chrono::nanoseconds(std::chrono::seconds(1)) / actual.frameRate;
    TestPicture picture(static_cast<int>(actual.width), static_cast<int>(actual.height));
    const Scene scene("canned");
    const auto now = std::chrono::system_clock::now();
    for (std::uint32_t number = 0; number < count; ++number)
    {
        const auto time =
            now + std::chrono::duration_cast<std::chrono::system_clock::duration>(number * loop->interval);
        auto frame = encoder->Encode(picture.Draw(scene.State(), NoteOf(encoder->Settings()), number, time),
                                     number % group == 0);
        if (!frame)
            return nullptr;
        loop->frames.push_back(std::move(frame));
    }
    loop->parameterSets = encoder->Parameters();
    return loop;
}

} // namespace

std::shared_ptr<const CannedLoop> CannedLoops::Get(const VideoSettings& settings)
{
    for (const auto& [known, loop] : made_)
    {
        if (known == settings)
            return loop;
    }
    auto loop = Encode(settings);
    if (!loop)
        return nullptr;
    if (made_.size() == kMostLoops)
        made_.erase(made_.begin());
    made_.emplace_back(settings, loop);
    return loop;
}

} // namespace larkmoor::camera
