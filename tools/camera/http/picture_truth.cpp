#include "camera/http/picture_truth.h"

#include <algorithm>

namespace larkmoor::camera
{

namespace
{

/// Slow clients may send a picture some seconds later than others do.
constexpr std::size_t kRemembered = 256;

} // namespace

bool PictureTruth::IsNew(StreamId id, const Picture& picture)
{
    std::deque<Picture>& told = told_[id];
    if (std::find(told.begin(), told.end(), picture) != told.end())
        return false;
    told.push_back(picture);
    if (told.size() > kRemembered)
        told.pop_front();
    return true;
}

void PictureTruth::Tell(StreamId id, Time captured, const MultipartPart& part)
{
    if (!log_.Wanted() || !part.isWhole)
        return;
    if (part.altered.empty() && !IsNew(id, {part.frame.get(), captured}))
        return;
    log_.Record(id.Text(), "jpeg", true, part.picture, std::nullopt);
    // A receiver that cuts at picture markers, and not by length, gets this one instead.
    if (!part.thumbnail.empty())
        log_.Record(id.Text(), "jpeg-thumbnail", true, part.thumbnail, std::nullopt);
}

} // namespace larkmoor::camera
