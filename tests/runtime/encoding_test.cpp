#include "runtime/encoding.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

using namespace korvane::Utils;

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
