#pragma once

#include "camera/media/encoded_frame.h"
#include "camera/media/scene.h"

#include <memory>
#include <utility>
#include <vector>

namespace larkmoor::camera
{

/// A few seconds of a stream encoded beforehand, to be played round and round: any number of streams then
/// costs only their sending. It begins with a key frame and holds an even number of groups of pictures, so
/// that the ids of neighbouring IDR pictures differ at the seam too (ITU-T H.264, 7.4.3).
struct CannedLoop
{
    std::vector<std::shared_ptr<const EncodedFrame>> frames; ///< never empty
    std::shared_ptr<const ParameterSets> parameterSets;      ///< never null
    std::chrono::nanoseconds interval;                       ///< between frames
};

/// The loops made so far; streams with the same settings share one. One thread at a time.
class CannedLoops
{
public:
    /// Encodes the loop when it is asked for the first time, which takes as long as encoding some seconds of
    /// video does. Null if no encoder takes the settings.
    std::shared_ptr<const CannedLoop> Get(const VideoSettings& settings);

private:
    std::vector<std::pair<VideoSettings, std::shared_ptr<const CannedLoop>>> made_;
};

} // namespace larkmoor::camera
