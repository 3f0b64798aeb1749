#include "discovery/picture_lists.h"

#include "runtime/text.h"

#include <gtest/gtest.h>

namespace korvane
{

namespace
{

/// "640x480@33 ..." with width, height and frame time of each.
std::string Told(std::vector<CameraResolution> resolutions)
{
    std::string text;
    for (CameraResolution& size : resolutions)
        text += std::to_string(size.width) + "x" + std::to_string(size.height) + "@" +
                std::to_string(*size.frameTimes.First()) + " ";
    return text;
}

} // namespace

TEST(ResolutionList, TheFirstTextThatCanBeReadFixesTheNotation)
{
    using enum ResolutionNotation;
    const struct
    {
        const char* name;
        const char* texts; // with commas between
        std::vector<std::uint32_t> rates;
        bool isNtsc;
        ResolutionNotation notation;
        const char* told;
        std::uint32_t lowest;
    } cases[] = {
        {"numeric", "640x480,320x240", {30, 15}, false, Numeric, "640x480@33 320x240@67 ", 15},
        {"named, NTSC", "QCIF,CIF,4CIF", {30, 30, 30}, true, Named, "176x120@33 352x240@33 704x480@33 ", 30},
        {"named, PAL",
         "QCIF,CIF,4CIF,D1",
         {25, 25, 25, 25},
         false,
         Named,
         "176x144@40 352x288@40 704x576@40 720x576@40 ",
         25},
        {"a name between numbers",
         "640x480,CIF,320x240",
         {30, 5, 20},
         true,
         Numeric,
         "640x480@33 320x240@50 ",
         20},
        {"numbers behind a name", "CIF,640x480", {30, 5}, true, Named, "352x240@33 ", 30},
        {"blanks and other signs",
         " 640 * 480 ,320/240p,4 CIF",
         {30, 30, 30},
         true,
         Numeric,
         "640x480@33 320x240@33 ",
         30},
        {"blanks in a name", "4 CIF,cif,D1", {30, 5, 30}, true, Named, "704x480@33 720x480@33 ", 30},
        {"unreadable before the first",
         "auto,0x480,640x0,640,640x,x480,640x480",
         {1, 1, 1, 1, 1, 1, 25},
         true,
         Numeric,
         "640x480@40 ",
         25},
        {"beyond what a size can be",
         "65536x480,640x99999999999999999999,65535x65535",
         {9, 9, 10},
         true,
         Numeric,
         "65535x65535@100 ",
         10},
        {"nothing readable", "auto", {30}, true, None, "", 0},
        {"fewer rates than sizes", "640x480,320x240", {30}, true, None, "", 0},
        {"none", "", {30}, true, None, "", 0},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        const ResolutionList list = MatchResolutions(Utils::SplitString(c.texts, ','), c.rates, c.isNtsc);
        EXPECT_EQ(list.notation, c.notation);
        EXPECT_EQ(Told(list.resolutions), c.told);
        EXPECT_EQ(list.lowestRate, c.lowest);
    }
}

TEST(FrameRates, AreReadAndFilledUp)
{
    const struct
    {
        const char* name;
        std::vector<std::string> texts;
        std::size_t count;
        bool isNtsc;
        std::vector<std::uint32_t> list;
        FrameRateSet rates;
    } cases[] = {
        {"one for each size", {"15", "15"}, 2, true, {15, 15}, {1, 2, 3, 5, 8, 10, 15}},
        {"filled up on NTSC", {"10"}, 3, true, {10, 30, 30}, {1, 2, 3, 5, 8, 10, 15, 20, 25, 30}},
        {"filled up on PAL", {"12"}, 2, false, {12, 25}, {1, 2, 3, 5, 8, 10, 12, 15, 20, 25}},
        {"more than sizes", {"5", "2"}, 1, false, {5, 2}, {1, 2, 3, 5}},
        {"60 a second", {"60"}, 1, true, {60}, {1, 2, 3, 5, 8, 10, 15, 20, 25, 30, 60}},
        {"no numbers", {"fast", "0", "-3", "", "4x", "7"}, 1, true, {7}, {1, 2, 3, 5, 7}},
        {"nothing at all", {}, 0, true, {}, {}},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        FrameRateSet rates{99};
        EXPECT_EQ(ReadFrameRates(c.texts, c.count, c.isNtsc, rates), c.list);
        EXPECT_EQ(rates, c.rates);
    }
}

} // namespace korvane
