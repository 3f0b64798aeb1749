#include "camera/rtsp/rtsp_address.h"

#include <algorithm>

namespace larkmoor::camera
{
namespace
{

std::string_view WithoutSlashes(std::string_view text)
{
    while (text.starts_with('/'))
        text.remove_prefix(1);
    while (text.ends_with('/'))
        text.remove_suffix(1);
    return text;
}

} // namespace

std::string_view PathOf(std::string_view address)
{
    if (const std::size_t scheme = address.find("://"); scheme != std::string_view::npos)
        address.remove_prefix(std::min(address.find('/', scheme + 3), address.size()));
    address = WithoutSlashes(address.substr(0, address.find('?')));
    if (address.ends_with(kVideoTrack))
        address = WithoutSlashes(address.substr(0, address.size() - kVideoTrack.size()));
    return address;
}

} // namespace larkmoor::camera
