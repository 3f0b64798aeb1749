#include "runtime/encoding.h"

#include "support/table.h"

#include <gtest/gtest.h>

#include <string>

using namespace korvane::Utils;

namespace
{

std::string Encode(const std::string& plain)
{
    std::uint32_t size = 200;
    std::vector<char> out(size);
    EXPECT_TRUE(Base64Encode(reinterpret_cast<const std::uint8_t*>(plain.data()),
                             static_cast<std::uint32_t>(plain.size()), out.data(), size));
    return {out.data(), size};
}

/// "too long" if it does not fit.
std::string Decode(const std::string& text, std::uint32_t room = 256)
{
    std::vector<std::uint8_t> out(room);
    std::uint32_t size = room;
    if (Base64Decode(text.data(), static_cast<std::uint32_t>(text.size()), out.data(), size))
        return {out.begin(), out.begin() + size};
    EXPECT_EQ(size, 0u);
    return "too long";
}

TEST(Encoding, Base64CodesTheVectorsOfRfc4648)
{
    for (const auto& [plain, text] :
         korvane::test::Table<const char*, const char*>{{"", ""},
                                                        {"f", "Zg=="},
                                                        {"fo", "Zm8="},
                                                        {"foo", "Zm9v"},
                                                        {"foob", "Zm9vYg=="},
                                                        {"fooba", "Zm9vYmE="},
                                                        {"foobar", "Zm9vYmFy"},
                                                        {"\xFB\xEF\xBE\xFF\xFF\xFF", "++++////"}})
    {
        EXPECT_EQ(Encode(plain), text);
        EXPECT_EQ(Decode(text), plain);
    }
}

TEST(Encoding, Base64DecodesAroundWhatIsNotInTheAlphabet)
{
    EXPECT_EQ(Decode("Zm9v\r\nYmFy\r\n"), "foobar");
    EXPECT_EQ(Decode("Zm9vYg"), "foob") << "no padding";
    EXPECT_EQ(Decode("Zg==Zm9v"), std::string("f\x06") + "f\xF6") << "padding in the middle";
    EXPECT_EQ(Decode("Z-m_9\xFFv"), "foo") << "marks and bytes above ASCII";
    EXPECT_EQ(Decode("Zm9vY"), "foo") << "a lone digit";
    EXPECT_EQ(Decode({"Zm9v\0YmFy", 9}), "foo") << "a zero between groups ends it";
    EXPECT_EQ(Decode({"Zm\0009vYmFy", 9}), "foobar") << "a zero inside a group is passed over";
}

TEST(Encoding, Base64DecodeIsBoundedByTheRoom)
{
    EXPECT_EQ(Decode("Zm9vYmFy", 6), "foobar");
    for (std::uint32_t room = 0; room < 6; ++room)
        EXPECT_EQ(Decode("Zm9vYmFy", room), "too long") << room;
    EXPECT_EQ(Decode("Zm8=", 2), "fo");
    EXPECT_EQ(Decode("Zm8=", 1), "too long");
}

TEST(Encoding, Base64BreaksFullLines)
{
    const std::string full = std::string(76, 'V') + "\r\n"; // "UUU" is "VVVV"
    for (const auto& [count, text] : korvane::test::Table<std::size_t, std::string>{
             {56, std::string(74, 'V') + "U="}, {57, full}, {58, full + "VQ=="}, {114, full + full}})
    {
        EXPECT_EQ(Encode(std::string(count, 'U')), text);
        EXPECT_EQ(Decode(text), std::string(count, 'U'));
    }
}

TEST(Encoding, CodesCredentialsAndHexDigits)
{
    std::string out;
    EXPECT_TRUE(MakeBasicCredentials("Aladdin", "open sesame", out)); // RFC 7617, section 2
    EXPECT_EQ(out, "QWxhZGRpbjpvcGVuIHNlc2FtZQ==");
    EXPECT_TRUE(MakeBasicCredentials("root", "", out));
    EXPECT_EQ(out, "cm9vdDo=");
    EXPECT_TRUE(MakeBasicCredentials("root", std::string(67, 'x'), out));
    EXPECT_FALSE(MakeBasicCredentials("root", std::string(68, 'x'), out));
    EXPECT_EQ(out, "");

    std::vector<std::uint8_t> bytes;
    HexToBytes("09aFx7F", bytes);
    EXPECT_EQ(bytes, (std::vector<std::uint8_t>{0x09, 0xAF, 0x07, 0x0F}));
}

} // namespace
