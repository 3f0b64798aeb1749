#include "discovery/camera_properties.h"

#include <gtest/gtest.h>

namespace korvane
{
namespace
{

TEST(AudioCapabilities, ReadsTwoNumbersOrNothing)
{
    const struct
    {
        const char* text;
        bool valid;
        std::uint32_t count;
        bool stereo;
    } cases[] = {
        {"Count=1; IsStereo=1", true, 1, true},
        {"Count=0; IsStereo=0", true, 0, false}, // a device that lists its sound and has none
        {"Count=1; IsStereo=2", true, 1, false}, // stereo is exactly 1
        {"Count=4294967295; IsStereo=1", true, 4294967295u, true},
        {"Count= 3;  IsStereo= 1 ", true, 3, true},
        {"Count=3;IsStereo=1; Rate=8000", true, 3, true},
        {nullptr, false, 0, false},
        {"Count=1; IsStereo=", false, 0, false},
        {"IsStereo=1; Count=1", false, 0, false},
        {"Count=4294967296; IsStereo=1", false, 0, false},
        {"Count=-1; IsStereo=1", false, 0, false},
        {"Count=1; IsStereo=99999999999999999999", false, 0, false},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.text == nullptr ? "null" : c.text);
        CAudioCapabilities capabilities;
        capabilities.count = 7; // what stood there before must not survive
        capabilities.stereo = true;
        EXPECT_EQ(capabilities.Parse(c.text), c.valid);
        EXPECT_EQ(capabilities.count, c.count);
        EXPECT_EQ(capabilities.stereo, c.stereo);
    }
}

} // namespace
} // namespace korvane
