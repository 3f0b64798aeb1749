#include "http/param_text.h"

#include <gmock/gmock.h>

using namespace korvane::Utils;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{

TEST(ParamText, FindsTheFirstWholeKeyWithAValue)
{
    const struct
    {
        const char* name;
        std::string_view text;
        const char* key;
        const char* value;
    } cases[] = {
        {"a key inside another", "a=1&ab=2", "ab", "2"},
        {"the tail of a key only", "a=1&ab=2", "b", ""},
        {"the head of a longer key before it", "video.maxframe.0=5\r\nvideo.maxframe=9\r\n", "video.maxframe",
         "9"},
        {"another case", "Key=1", "key", ""},
        {"one item a line", "x='0'\r\nsystem_info_modelname='IP7135'\r\n", "system_info_modelname",
         "'IP7135'"},
        {"blanks around the key, kept in the value", "x=1&\t key \t= v &y", "key", " v "},
        {"a value that holds the assignment", "key=a=b&x", "key", "a=b"},
        {"a value to the end of the text", "x=1&key=value", "key", "value"},
        {"no value at the end of the text", "key=", "key", ""},
        {"an empty item, then one with a value", "key=\r\nkey=2\r\n", "key", "2"},
        {"the first of two", "key=1&key=2", "key", "1"},
        {"the key as a value, items later", "x=key&y=1&key=2", "key", "2"},
        {"the key as a value right before its item hides it", "x=key&key=2", "key", ""},
        {"the key twice in one item", "key key=1&key=2", "key", "2"},
        {"an item without assignment", "key\r\nx=1\r\nkey=2", "key", "2"},
        {"an assignment in the next line only", "key\r\n=2", "key", ""},
        {"empty text", "", "key", ""},
        {"empty key", "=1", "", ""},
        {"a key that begins with a separator", "&a=1&a=2", "&a", ""},
        {"a zero byte in the text", std::string_view("a\0=1&key=2", 10), "key", "2"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(GetParamValue(c.text, c.key, kParamAssign, kParamSeparators), c.value);
    }
}

TEST(ParamText, TakesAnyAssignmentAndSeparators)
{
    EXPECT_EQ(GetParamValue("CSeq: 1\r\nSession: 7;timeout=60\r\n", "Session", ": ", "\r\n"), "7;timeout=60");
    EXPECT_EQ(GetParamValue("a=1&b=2\r\n", "a", "=", "\r\n"), "1&b=2");
    EXPECT_EQ(GetParamValue("a:=1;b:=2", "b", ":=", ";"), "2");
    EXPECT_EQ(GetParamValue("a=1", "a", "", "&"), "");
    EXPECT_EQ(GetParamValue("a=1", "a", "=", ""), "");
    // Separator, assignment and key that overlap must come to an end.
    EXPECT_EQ(GetParamValue("=x=x=x", "=x", "=", "="), "");
}

TEST(ParamText, ReadsNumbersStrictly)
{
    const std::string_view text = "a=12&b=-1&c='3'&d=4x&e=";
    EXPECT_EQ(GetParamUInt(text, "a", kParamAssign, kParamSeparators), 12u);
    for (const char* key : {"b", "c", "d", "e", "missing"})
        EXPECT_EQ(GetParamUInt(text, key, kParamAssign, kParamSeparators), 0u) << key;
}

TEST(ParamText, CutsListsWithoutEmptyPieces)
{
    const std::string_view text = "list=, a,,b, ,c,&two=a--b---c&none=";
    EXPECT_THAT(GetParamList(text, "list", "=", ",", "&"), ElementsAre(" a", "b", " ", "c"));
    EXPECT_THAT(GetParamList(text, "two", "=", "--", "&"), ElementsAre("a", "b", "-c"));
    EXPECT_THAT(GetParamList(text, "list", "=", "", "&"), IsEmpty());
    EXPECT_THAT(GetParamList(text, "none", "=", ",", "&"), IsEmpty());
}

TEST(ParamText, ChangesOnlyWhatDiffers)
{
    const std::string_view text = "size=640x480\r\nrate=25\r\n";
    EXPECT_EQ(MakeParamChange("320x240", text, "size", "=", "\r\n"), "size=320x240");
    EXPECT_EQ(MakeParamChange("640x480", text, "size", "=", "\r\n"), "");
    EXPECT_EQ(MakeParamChange("", text, "size", "=", "\r\n"), "");
    EXPECT_EQ(MakeParamChange("on", text, "missing", "=", "\r\n"), "missing=on");
    EXPECT_EQ(MakeParamChange(25u, text, "rate", "=", "\r\n"), "");
    EXPECT_EQ(MakeParamChange(0u, text, "rate", "=", "\r\n"), "rate=0");
}

} // namespace
