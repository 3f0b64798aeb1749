#include "discovery/camera_properties.h"

#include <cstdint>
#include <cstdlib>
#include <string>

// Whatever was read must come back from its own text; whatever was not must leave nothing behind.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(data, data + size);
    korvane::CAudioCapabilities first;
    if (!first.Parse(text.c_str()))
    {
        if (first.count != 0 || first.stereo)
            std::abort();
        return 0;
    }
    korvane::CAudioCapabilities second;
    if (!second.Parse(first.Text().c_str()) || second.count != first.count || second.stereo != first.stereo)
        std::abort();
    return 0;
}
