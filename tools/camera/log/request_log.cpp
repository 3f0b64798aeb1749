#include "camera/log/request_log.h"

#include "base/text.h"

#include <chrono>

namespace larkmoor::camera
{

nlohmann::ordered_json LoggedRequest::Line() const
{
    return {{"time", IsoTime(std::chrono::system_clock::now())},
            {"protocol", protocol},
            {"method", JsonLines::Text(method)},
            {"target", JsonLines::Text(target)},
            {"status", status}};
}

} // namespace larkmoor::camera
