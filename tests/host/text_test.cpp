#include "host/base/text.h"

#include <gtest/gtest.h>

namespace larkmoor::host
{

TEST(HostText, ReadsWhatPeopleType)
{
    const struct
    {
        const char* text;
        long milliseconds; // -1: refused
    } durations[] = {{"90", 90000}, {"1.5s", 1500}, {"250ms", 250}, {"2m", 120000},
                     {"0", -1},     {"-1", -1},     {"1e3", -1},    {"", -1},
                     {"ms", -1},    {"1h", -1},     {"1..5", -1},   {"99999999999999999999", -1}};
    for (const auto& c : durations)
    {
        const auto read = ReadDuration(c.text);
        EXPECT_EQ(read ? read->count() : -1, c.milliseconds) << c.text;
    }

    EXPECT_EQ(ReadSize("640x480"), (PictureSize{640, 480}));
    for (const char* text :
         {"640", "x480", "640x", "0x480", "65536x480", "640x480x1", "640 x480", "-640x480"})
        EXPECT_FALSE(ReadSize(text)) << text;

    EXPECT_EQ(ReadNumber("65535", 65535), 65535u);
    for (const char* text : {"65536", "", "-1", "+1", " 1", "1 ", "99999999999999999999999"})
        EXPECT_FALSE(ReadNumber(text, 65535)) << text;
}

TEST(HostText, ReadsChanges)
{
    const auto both = ReadChange("5s:640x480@10");
    ASSERT_TRUE(both);
    EXPECT_EQ(both->at.count(), 5000);
    EXPECT_EQ(both->size, (PictureSize{640, 480}));
    EXPECT_EQ(both->rate, 10.0);

    const auto rateOnly = ReadChange("500ms:@12.5");
    ASSERT_TRUE(rateOnly);
    EXPECT_FALSE(rateOnly->size);
    EXPECT_EQ(rateOnly->rate, 12.5);

    const auto sizeOnly = ReadChange("1:320x240");
    ASSERT_TRUE(sizeOnly);
    EXPECT_FALSE(sizeOnly->rate);

    for (const char* text : {"", "5s", "5s:", "5s:@", ":640x480", "5s:640@10", "5s:640x480@", "5s:640x480@0"})
        EXPECT_FALSE(ReadChange(text)) << text;
}

TEST(HostText, TurnsRatesIntoWholeMilliseconds)
{
    const struct
    {
        double rate;
        unsigned interval;
    } cases[] = {{25, 40}, {30, 33}, {0, 0}, {1, 1000}, {0.001, 65535}, {5000, 1}, {7, 143}};
    for (const auto& c : cases)
        EXPECT_EQ(IntervalOfRate(c.rate), c.interval) << c.rate;
}

TEST(HostText, WritesTimesAndAmounts)
{
    EXPECT_EQ(IsoTime(1'709'294'400'123'999), "2024-03-01T12:00:00.123Z");
    EXPECT_EQ(IsoTime(-1), "1969-12-31T23:59:59.999Z");
    EXPECT_EQ(ReadableBytes(999), "999 B");
    EXPECT_EQ(ReadableBytes(1'500'000), "1.5 MB");
}

} // namespace larkmoor::host
