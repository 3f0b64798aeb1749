#pragma once

#include "camera/device/parameter_store.h"
#include "camera/device/profile.h"
#include "camera/http/message.h"
#include "camera/log/camera_log.h"
#include "camera/media/stream_hub.h"

#include <cstdint>

namespace larkmoor::camera
{

/// Pictures over HTTP: streams at their access names, and "/cgi-bin/video.jpg". On the thread of the
/// io_context; all that it is given outlives it.
class VideoCgi
{
public:
    VideoCgi(ParameterStore& store, const Profile& profile, StreamHub& hub, TruthLog& truth)
        : store_(store), profile_(profile), hub_(hub), truth_(truth)
    {
    }

    /// A stream whose access name the path is; 404 for other paths, 409 if the stream is not Motion JPEG now.
    HttpResponse Stream(const HttpRequest& request);

    /// One picture of the channel (`channel` from 0, or `cam` from 1); on older devices, which name the
    /// channel with `cam`, that channel's stream if it is Motion JPEG. There `quality` (1 to 5) and `size`
    /// change the channel for all who watch it: it has one encoder.
    HttpResponse Picture(const HttpRequest& request);

private:
    HttpResponse Still(StreamId id);

    ParameterStore& store_;
    const Profile& profile_;
    StreamHub& hub_;
    TruthLog& truth_;
    std::uint64_t stills_ = 0;
};

} // namespace larkmoor::camera
