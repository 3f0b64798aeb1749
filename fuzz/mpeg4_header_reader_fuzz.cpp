// Any bytes as the start of an MPEG-4 stream: what is found is a size that a picture can have, and bytes
// behind it don't change it.

#include <vector>

#include "parsers/picture_size.h"
#include "require.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto found = korvane::ReadMpeg4PictureSize({data, size});
    if (!found)
        return 0;
    Require(found->width != 0 && found->height != 0 && found->width <= 32000 && found->height <= 32000);
    std::vector<std::uint8_t> longer(data, data + size);
    longer.insert(longer.end(), {0, 0, 1, 0xB6, 0x10, 0xFF});
    Require(korvane::ReadMpeg4PictureSize(longer) == found);
    return 0;
}
