#include "runtime/encoding.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

using namespace korvane::Utils;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{

using Bytes = std::vector<std::uint8_t>;

struct Encoded
{
    bool ok;
    std::string text;
};

Encoded Encode(const std::string& plain, std::uint32_t room)
{
    std::vector<char> out(
        room); // exactly the room, so that the address sanitizer sees one character too many
    std::uint32_t size = room;
    const bool ok = Base64Encode(reinterpret_cast<const std::uint8_t*>(plain.data()),
                                 static_cast<std::uint32_t>(plain.size()), out.data(), size);
    return {ok, std::string(out.data(), size)};
}

struct Decoded
{
    bool ok;
    std::string plain;
};

Decoded Decode(const std::string& text, std::uint32_t room = 256)
{
    std::vector<std::uint8_t> out(room);
    std::uint32_t size = room;
    const bool ok = Base64Decode(text.data(), static_cast<std::uint32_t>(text.size()), out.data(), size);
    return {ok, std::string(out.begin(), out.begin() + size)};
}

TEST(Encoding, Md5MatchesTheTestSuiteOfRfc1321)
{
    EXPECT_EQ(Md5Hex(""), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(Md5Hex("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
    EXPECT_EQ(Md5Hex("12345678901234567890123456789012345678901234567890123456789012345678901234567890"),
              "57edf4a22be3c955ac49da2e2107b67a");
    EXPECT_EQ(Md5Hex(std::string_view("\0", 1)), "93b885adfe0da089cdf634904fd59f71"); // the whole text counts
}

TEST(Encoding, Base64EncodesTheVectorsOfRfc4648)
{
    const struct
    {
        const char* plain;
        const char* text;
    } cases[] = {{"", ""},
                 {"f", "Zg=="},
                 {"fo", "Zm8="},
                 {"foo", "Zm9v"},
                 {"foob", "Zm9vYg=="},
                 {"fooba", "Zm9vYmE="},
                 {"foobar", "Zm9vYmFy"}};
    for (const auto& c : cases)
    {
        EXPECT_EQ(Encode(c.plain, 16).text, c.text);
        EXPECT_EQ(Decode(c.text).plain, c.plain);
    }
    EXPECT_EQ(Encode("\xFB\xEF\xBE\xFF\xFF\xFF", 16).text, "++++////");
}

TEST(Encoding, Base64BreaksEachFullLine)
{
    const std::string line76 = std::string(74, 'A');
    EXPECT_EQ(Encode(std::string(56, '\0'), 200).text, line76 + "A=");
    EXPECT_EQ(Encode(std::string(57, '\0'), 200).text, line76 + "AA\r\n");
    EXPECT_EQ(Encode(std::string(58, '\0'), 200).text, line76 + "AA\r\nAA==");
    EXPECT_EQ(Encode(std::string(114, '\0'), 200).text, line76 + "AA\r\n" + line76 + "AA\r\n");
}

TEST(Encoding, Base64AsksForMoreRoomThanItFills)
{
    const struct
    {
        std::uint32_t size;
        std::uint32_t room; // worked out by hand from the rule: 4n/3 + n mod 3, line breaks, 2, rounding
    } cases[] = {{0, 2}, {1, 6}, {2, 6}, {3, 6}, {56, 80}, {57, 80}, {58, 84}, {72, 100}, {73, 104}};
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.size);
        const std::string plain(c.size, 'x');
        EXPECT_TRUE(Encode(plain, c.room).ok);
        const Encoded tooSmall = Encode(plain, c.room - 1);
        EXPECT_FALSE(tooSmall.ok);
        EXPECT_EQ(tooSmall.text, "");
    }
}

TEST(Encoding, Base64DecodesAroundWhatIsNotInTheAlphabet)
{
    const struct
    {
        const char* name;
        std::string text;
        std::string plain;
    } cases[] = {
        {"line breaks", "Zm9v\r\nYmFy\r\n", "foobar"},
        {"no padding", "Zm9vYg", "foob"},
        {"padding in the middle", "Zg==Zm9v",
         "f\x06"
         "f\xF6"},
        {"marks and bytes above ASCII", "Z-m_9\xFFv", "foo"},
        {"a lone digit", "Zm9vY", "foo"},
        {"a zero between groups ends it", std::string("Zm9v\0YmFy", 9), "foo"},
        {"a zero inside a group is passed over", std::string("Zm\0009vYmFy", 9), "foobar"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        const Decoded decoded = Decode(c.text);
        EXPECT_TRUE(decoded.ok);
        EXPECT_EQ(decoded.plain, c.plain);
    }
}

TEST(Encoding, Base64DecodeIsBoundedByTheRoom)
{
    EXPECT_TRUE(Decode("Zm9vYmFy", 6).ok);
    for (std::uint32_t room = 0; room < 6; ++room)
    {
        const Decoded decoded = Decode("Zm9vYmFy", room);
        EXPECT_FALSE(decoded.ok) << room;
        EXPECT_EQ(decoded.plain, "");
    }
    EXPECT_TRUE(Decode("Zm8=", 2).ok);
    EXPECT_FALSE(Decode("Zm8=", 1).ok);
}

TEST(Encoding, HexToBytesCountsOtherCharactersAsZero)
{
    Bytes bytes{9, 9, 9};
    HexToBytes("12aBFf", bytes);
    EXPECT_THAT(bytes, ElementsAre(0x12, 0xAB, 0xFF));
    HexToBytes("12F", bytes);
    EXPECT_THAT(bytes, ElementsAre(0x12, 0x0F));
    HexToBytes("1g:9 ", bytes);
    EXPECT_THAT(bytes, ElementsAre(0x10, 0x09, 0x00));
    HexToBytes("", bytes);
    EXPECT_THAT(bytes, IsEmpty());
}

TEST(Encoding, BasicCredentialsHaveRoomFor72Bytes)
{
    std::string out;
    EXPECT_TRUE(MakeBasicCredentials("Aladdin", "open sesame", out));
    EXPECT_EQ(out, "QWxhZGRpbjpvcGVuIHNlc2FtZQ=="); // the example of RFC 2617
    EXPECT_TRUE(MakeBasicCredentials("root", "", out));
    EXPECT_EQ(out, "cm9vdDo=");
    EXPECT_TRUE(MakeBasicCredentials("root", std::string(67, 'p'), out));
    EXPECT_EQ(Decode(out).plain, "root:" + std::string(67, 'p'));
    EXPECT_FALSE(MakeBasicCredentials("root", std::string(68, 'p'), out));
    EXPECT_EQ(out, "");
    EXPECT_FALSE(MakeBasicCredentials(std::string(5000, 'u'), "p", out));
}

} // namespace
