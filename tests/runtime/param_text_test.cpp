#include "runtime/param_text.h"

#include "support/table.h"

#include <gmock/gmock.h>

using namespace korvane::Utils;

namespace
{

TEST(ParamText, FindsTheFirstWholeKeyWithAValue)
{
    using Text = std::string_view;
    for (const auto& [name, text, key, value] : korvane::test::Table<const char*, Text, const char*, Text>{
             {"a key inside another", "a=1&ab=2", "ab", "2"},
             {"the tail of a key only", "a=1&ab=2", "b", ""},
             {"the head of a longer key before it", "video.maxframe.0=5\r\nvideo.maxframe=9\r\n",
              "video.maxframe", "9"},
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
         })
        EXPECT_EQ(GetParamValue(text, key, kParamAssign, kParamSeparators), value) << name;
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

} // namespace
