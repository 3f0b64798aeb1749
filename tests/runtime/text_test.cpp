#include "runtime/text.h"

#include <gmock/gmock.h>

#include <netdb.h>

using namespace korvane::Utils;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{

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

} // namespace
