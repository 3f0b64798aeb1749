#include "runtime/text.h"

#include "support/table.h"

#include <gmock/gmock.h>

#include <netdb.h>

using namespace korvane::Utils;
using ::testing::ElementsAre, ::testing::IsEmpty;

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
    for (const auto& [text, isInteger, value, strict] :
         korvane::test::Table<const char*, bool, std::int32_t, std::uint32_t>{
             {"", false, 77, 0},
             {"-", false, 77, 0},
             {"+", false, 77, 0},
             {"-5", true, -5, 0},
             {"+5", true, 5, 0},
             {"5", true, 5, 5},
             {" 5", false, 77, 0},
             {"5 ", false, 77, 0},
             {"0x5", false, 77, 0},
             {"5.0", false, 77, 0},
             {"--5", false, 77, 0},
             {"007", true, 7, 7},
             {"4294967297", true, 1, 1},
             {"-2147483648", true, INT32_MIN, 0},
         })
    {
        SCOPED_TRACE(text);
        std::int32_t read = 77;
        EXPECT_EQ(IsInteger(text, read), isInteger);
        EXPECT_EQ(read, value);
        EXPECT_EQ(ToUInt32(text), strict);
    }
    EXPECT_EQ(ToUInt16("65537"), 1);
    EXPECT_EQ(ToUInt8("258"), 2);
}

} // namespace
