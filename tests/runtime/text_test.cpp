#include "runtime/text.h"

#include <gmock/gmock.h>

#include <netdb.h>

using namespace korvane::Utils;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{

TEST(Text, FormatsAnyLength)
{
    EXPECT_EQ(FormatString("%s:%u", "host", 80u), "host:80");
    EXPECT_EQ(FormatString("%s", std::string(100000, 'x').c_str()), std::string(100000, 'x'));
}

TEST(Text, TrimsBlanksAndTabsOnly)
{
    EXPECT_EQ(Trim(" \t a b\t "), "a b");
    EXPECT_EQ(Trim("\ra\n"), "\ra\n");
    EXPECT_EQ(Trim(" \t "), "");
}

TEST(Text, ConvertsAsciiLettersOnly)
{
    EXPECT_EQ(ToUpper("azAZ09[`{\xE4"), "AZAZ09[`{\xE4");
    EXPECT_EQ(ToLower("azAZ09@[\xC4"), "azaz09@[\xC4");
}

TEST(Text, ReplacesWithoutSearchingWhatItPutIn)
{
    EXPECT_EQ(ReplaceAll("aXbXX", "X", "XX"), "aXXbXXXX");
    EXPECT_EQ(ReplaceAll("aaa", "aa", "b"), "ba");
    EXPECT_EQ(ReplaceAll("abc", "", "x"), "abc");
    EXPECT_EQ(RemoveChars("'a' \"b\"", "'\""), "a b");
}

TEST(Text, SplitsAndJoins)
{
    EXPECT_THAT(SplitString("a,,b", ','), ElementsAre("a", "", "b"));
    EXPECT_THAT(SplitString("a,b,", ','), ElementsAre("a", "b"));
    EXPECT_THAT(SplitString(",", ','), ElementsAre(""));
    EXPECT_THAT(SplitString("", ','), IsEmpty());
    EXPECT_EQ(JoinWithComma({"", "", "a", "", "b"}), "a,,b");
}

TEST(Text, ReadsNumbersStrictly)
{
    const struct
    {
        const char* text;
        bool isInteger;
        std::int32_t value;
        std::uint32_t strict;
    } cases[] = {
        {"", false, 77, 0},         {"-", false, 77, 0},
        {"+", false, 77, 0},        {"-5", true, -5, 0},
        {"+5", true, 5, 0},         {"5", true, 5, 5},
        {" 5", false, 77, 0},       {"5 ", false, 77, 0},
        {"0x5", false, 77, 0},      {"5.0", false, 77, 0},
        {"--5", false, 77, 0},      {"007", true, 7, 7},
        {"4294967297", true, 1, 1}, {"-2147483648", true, INT32_MIN, 0},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.text);
        std::int32_t value = 77;
        EXPECT_EQ(IsInteger(c.text, value), c.isInteger);
        EXPECT_EQ(value, c.value);
        EXPECT_EQ(ToUInt32(c.text), c.strict);
    }
    EXPECT_EQ(ToUInt16("65537"), 1);
    EXPECT_EQ(ToUInt8("258"), 2);
}

TEST(Text, FrameTimeIsRounded)
{
    EXPECT_EQ(FrameTimeFromRate(0), 1u);
    EXPECT_EQ(FrameTimeFromRate(25), 40u);
    EXPECT_EQ(FrameTimeFromRate(30), 33u);
    EXPECT_EQ(FrameTimeFromRate(15), 67u);
    EXPECT_EQ(FrameTimeFromRate(3000), 0u);
}

TEST(Text, ResolvesNamesAndDottedAddresses)
{
    const std::uint32_t loopback = ResolveHostAddress("127.0.0.1");
    const auto* octets = reinterpret_cast<const std::uint8_t*>(&loopback);
    EXPECT_THAT(std::vector<int>(octets, octets + 4), ElementsAre(127, 0, 0, 1));
    // A system without a hosts file knows no name at all.
    const hostent* const known = gethostbyname("localhost");
    EXPECT_EQ(ResolveHostAddress("localhost"), known == nullptr ? 0u : loopback);
    EXPECT_EQ(ResolveHostAddress(""), 0u);
    EXPECT_EQ(ResolveHostAddress("not a host name"), 0u);
}

} // namespace
