// A sequence parameter set behind its NAL header. A size needs all bytes that it was read from, stays the
// same with more bytes behind, and is never nothing.

#include <cstdint>
#include <vector>

#include "parsers/picture_size.h"
#include "require.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto whole = korvane::ReadPictureSize({data, size});
    if (whole)
        Require(whole->width != 0 && whole->height != 0);

    std::vector<std::uint8_t> longer(data, data + size);
    longer.insert(longer.end(), {0x00, 0xFF, 0x5A});
    if (whole)
        Require(korvane::ReadPictureSize(longer) == whole);

    // Either too short for a size, or long enough for the one that the whole has.
    for (const std::size_t cut : {size / 2, size - size / 4})
    {
        const std::vector<std::uint8_t> head(data, data + cut);
        const auto read = korvane::ReadPictureSize(head);
        Require(!read || read == whole);
    }
    return 0;
}
