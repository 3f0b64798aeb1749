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
        const char* name;
        const char* text;
        bool valid;
        std::uint32_t count;
        bool stereo;
    } cases[] = {
        {"one stereo channel", "Count=1; IsStereo=1", true, 1, true},
        {"two mono channels", "Count=2; IsStereo=0", true, 2, false},
        {"stereo is exactly 1", "Count=1; IsStereo=2", true, 1, false},
        {"largest number", "Count=4294967295; IsStereo=1", true, 4294967295u, true},
        {"blanks where numbers and words begin", "Count= 3;  IsStereo= 1 ", true, 3, true},
        {"no blank", "Count=3;IsStereo=1", true, 3, true},
        {"text behind", "Count=3; IsStereo=1; Rate=8000", true, 3, true},
        {"null", nullptr, false, 0, false},
        {"empty", "", false, 0, false},
        {"count alone", "Count=1", false, 0, false},
        {"count and half of the rest", "Count=1; IsStereo=", false, 0, false},
        {"other order", "IsStereo=1; Count=1", false, 0, false},
        {"beyond 32 bits", "Count=4294967296; IsStereo=1", false, 0, false},
        {"negative", "Count=-1; IsStereo=1", false, 0, false},
        {"stereo beyond 32 bits", "Count=1; IsStereo=99999999999999999999", false, 0, false},
        {"leading text", "x Count=1; IsStereo=1", false, 0, false},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
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
