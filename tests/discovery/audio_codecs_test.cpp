#include "discovery/audio_codecs.h"

#include <gtest/gtest.h>

namespace korvane
{

TEST(AudioCodecs, AreOrderedByPriorityAndEachOnce)
{
    const struct
    {
        const char* offered;
        bool isAacAllowed;
        const char* selected;
    } cases[] = {
        {"g726,g711,aac4", true, "aac4,g711,g726"},
        {"g726,g711,aac4", false, "g711,g726"},
        {"amr,G711,g711", true, "G711"},
        {"aac4", false, ""},
        {"g711 ,aac", true, ""},
        {"", true, ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(SelectAudioCodecs(c.offered, c.isAacAllowed), c.selected) << c.offered;
}

} // namespace korvane
