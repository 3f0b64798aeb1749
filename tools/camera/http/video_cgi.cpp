#include "camera/http/video_cgi.h"

#include "base/text.h"
#include "camera/media/test_picture.h"
#include "camera/media/video_encoder.h"

#include <chrono>
#include <memory>
#include <string>

namespace larkmoor::camera
{

namespace
{

constexpr std::uint32_t kStillQuantizer = 40; // of a stream that has no Motion JPEG quality of its own

/// The number of an item, `absent` if there is none, and one beyond all channels for what is no number.
std::uint32_t NumberOf(const ParameterStore::Items& items, std::string_view name, std::uint32_t absent)
{
    for (const auto& [key, value] : items)
    {
        if (key == name)
            return ReadNumber<std::uint32_t>(value).value_or(UINT32_MAX);
    }
    return absent;
}

} // namespace

HttpResponse VideoCgi::Stream(const HttpRequest& request)
{
    const std::optional<StreamId> id = FindStream(store_, profile_, "http", request.path);
    if (!id)
        return TextResponse(404, "There is nothing at " + request.path);
    if (hub_.Stream(*id)->Settings().codec != VideoCodec::MotionJpeg)
        return TextResponse(409, "This stream is not Motion JPEG now; setparam can make it so");
    HttpResponse response;
    response.stream = id;
    return response;
}

HttpResponse VideoCgi::Picture(const HttpRequest& request)
{
    const ParameterStore::Items items = ParseQuery(request.query);
    const std::uint32_t camera = NumberOf(items, "cam", 0);
    const StreamId id{camera > 0 ? camera - 1 : NumberOf(items, "channel", 0), 0};
    if (id.channel >= profile_.channels)
        return TextResponse(404, "There is no such channel");
    if (!profile_.legacy || camera == 0)
        return Still(id);

    ParameterStore::Items changes;
    for (const char* const name : {"quality", "size"})
    {
        const std::string key = std::string("video.") + name + "." + std::to_string(id.channel);
        if (const std::uint32_t number = NumberOf(items, name, 0); number > 0 && store_.Has(key))
            changes.emplace_back(key, std::to_string(number));
    }
    if (!store_.Change(changes).empty())
        return TextResponse(400, "The quality or the size is none of this device");
    if (hub_.Stream(id)->Settings().codec != VideoCodec::MotionJpeg)
        return Still(id);
    HttpResponse response;
    response.stream = id;
    return response;
}

HttpResponse VideoCgi::Still(StreamId id)
{
    VideoSettings settings = hub_.Stream(id)->Settings();
    if (settings.codec != VideoCodec::MotionJpeg)
        settings.quantizer = kStillQuantizer;
    settings.codec = VideoCodec::MotionJpeg;
    const std::unique_ptr<VideoEncoder> encoder = VideoEncoder::Open(settings);
    if (!encoder)
        return TextResponse(500, "The picture cannot be encoded");
    TestPicture picture(static_cast<int>(encoder->Settings().width),
                        static_cast<int>(encoder->Settings().height));
    Canvas& canvas = picture.Draw(hub_.SceneOf(id.channel)->State(), id.Text() + " still", ++stills_,
                                  std::chrono::system_clock::now());
    const auto frame = encoder->Encode(canvas, true);
    if (!frame)
        return TextResponse(500, "The picture cannot be encoded");
    truth_.Record("c" + std::to_string(id.channel) + "_still", "jpeg", true, frame->bytes, std::nullopt);
    HttpResponse response;
    response.contentType = "image/jpeg";
    response.body.assign(reinterpret_cast<const char*>(frame->bytes.data()), frame->bytes.size());
    return response;
}

} // namespace larkmoor::camera
