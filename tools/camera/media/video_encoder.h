#pragma once

#include "camera/media/canvas.h"
#include "camera/media/encoded_frame.h"

#include <memory>

namespace larkmoor::camera
{

/// Turns pictures into the frames of one stream, one in, one out, without delay. One thread at a time; closed
/// by its destructor.
class VideoEncoder
{
public:
    virtual ~VideoEncoder() = default;

    /// Null if the system's codec library lacks the codec or refuses the settings. Numbers out of their range
    /// are brought into it.
    static std::unique_ptr<VideoEncoder> Open(const VideoSettings& settings);

    /// `picture` has the size that the encoder was opened with. Null if the encoder fails, which ends it.
    virtual std::shared_ptr<const EncodedFrame> Encode(Canvas& picture, bool forceKey) = 0;

    /// What a receiver needs before the first frame; never null.
    virtual std::shared_ptr<const ParameterSets> Parameters() const = 0;

    /// The settings with every number in its range.
    virtual const VideoSettings& Settings() const = 0;
};

} // namespace larkmoor::camera
