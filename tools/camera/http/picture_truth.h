#pragma once

#include "camera/device/streams.h"
#include "camera/http/multipart.h"
#include "camera/log/truth_log.h"
#include "camera/media/encoded_frame.h"

#include <chrono>
#include <deque>
#include <map>
#include <utility>

namespace larkmoor::camera
{

/// Tells the truth log of the pictures that go out over HTTP: once for each picture of a stream, however many
/// clients get it, unless each of them gets other bytes. On the thread of the io_context.
class PictureTruth
{
public:
    using Time = std::chrono::system_clock::time_point;

    explicit PictureTruth(TruthLog& log) : log_(log) {}

    /// `part`, with a picture that was taken at `captured`, is going out whole.
    void Tell(StreamId id, Time captured, const MultipartPart& part);

private:
    // The time tells two frames apart that stood at one address one after the other.
    using Picture = std::pair<const EncodedFrame*, Time>;

    bool IsNew(StreamId id, const Picture& picture);

    TruthLog& log_;
    std::map<StreamId, std::deque<Picture>> told_; // the latest ones
};

} // namespace larkmoor::camera
