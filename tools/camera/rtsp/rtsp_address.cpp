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
    for (const std::string_view track : {kVideoTrack, kAudioTrack})
    {
        if (address.ends_with(track))
            return WithoutSlashes(address.substr(0, address.size() - track.size()));
    }
    return address;
}

bool NamesAudio(std::string_view address)
{
    return WithoutSlashes(address.substr(0, address.find('?'))).ends_with(kAudioTrack);
}

} // namespace larkmoor::camera
