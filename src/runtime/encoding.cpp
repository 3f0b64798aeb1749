#include "runtime/encoding.h"

#include "platform/digest.h"

#include <algorithm>
#include <array>

namespace korvane::Utils
{

namespace
{

constexpr std::string_view kBase64Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::string_view kHexDigits = "0123456789abcdef";
constexpr std::uint32_t kLineBytes = 57; // fill a line of 76 characters
constexpr std::uint64_t kLineCharacters = 76;
constexpr std::size_t kMaxCredentialsBytes = 100;

std::uint64_t Base64Room(std::uint64_t size)
{
    const std::uint64_t characters = 4 * size / 3 + size % 3;
    const std::uint64_t lineBreaks = 2 * (characters / kLineCharacters) + 2;
    const std::uint64_t lastLine = characters % kLineCharacters;
    const std::uint64_t padding = (4 - lastLine % 4) % 4;
    return characters + lineBreaks + padding;
}

std::uint8_t HexValue(char digit)
{
    const std::size_t value = std::string_view("0123456789abcdefABCDEF").find(digit);
    if (value == std::string_view::npos)
        return 0;
    return static_cast<std::uint8_t>(value < 16 ? value : value - 6);
}

} // namespace

std::string Md5Hex(std::string_view text)
{
    std::string hex;
    for (const std::uint8_t byte :
         platform::Md5({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()}))
    {
        hex += kHexDigits[byte >> 4];
        hex += kHexDigits[byte & 0x0F];
    }
    return hex;
}

bool Base64Encode(const std::uint8_t* data, std::uint32_t size, char* out, std::uint32_t& outSize)
{
    const std::uint64_t room = outSize;
    outSize = 0;
    if (room < Base64Room(size))
        return false;

    char* write = out;
    for (std::uint32_t at = 0; at < size; at += 3)
    {
        const std::uint32_t count = std::min<std::uint32_t>(3, size - at);
        std::uint32_t group = 0;
        for (std::uint32_t i = 0; i < 3; ++i)
            group = group << 8 | (i < count ? data[at + i] : 0u);
        for (std::uint32_t i = 0; i < 4; ++i)
            *write++ = i <= count ? kBase64Alphabet[group >> (18 - 6 * i) & 0x3F] : '=';
        if (count == 3 && (at + 3) % kLineBytes == 0)
        {
            *write++ = '\r';
            *write++ = '\n';
        }
    }
    outSize = static_cast<std::uint32_t>(write - out);
    return true;
}

bool Base64Decode(const char* text, std::uint32_t size, std::uint8_t* out, std::uint32_t& outSize)
{
    const std::uint32_t room = outSize;
    outSize = 0;
    std::uint32_t written = 0;
    std::uint32_t bits = 0;
    std::uint32_t pending = 0; // of the bits, the last ones: not written yet; none between two groups of four
    for (std::uint32_t at = 0; at < size; ++at)
    {
        if (text[at] == '\0' && pending == 0)
            break;
        const std::size_t value = kBase64Alphabet.find(text[at]);
        if (value == std::string_view::npos)
            continue;
        bits = bits << 6 | static_cast<std::uint32_t>(value);
        pending += 6;
        if (pending < 8)
            continue;
        if (written == room)
            return false;
        pending -= 8;
        out[written++] = static_cast<std::uint8_t>(bits >> pending);
    }
    outSize = written;
    return true;
}

void HexToBytes(std::string_view text, std::vector<std::uint8_t>& bytes)
{
    bytes.clear();
    bytes.reserve((text.size() + 1) / 2);
    for (std::size_t at = 0; at < text.size(); at += 2)
    {
        unsigned value = 0;
        for (const char digit : text.substr(at, 2))
            value = value << 4 | HexValue(digit);
        bytes.push_back(static_cast<std::uint8_t>(value));
    }
}

bool MakeBasicCredentials(const std::string& user, const std::string& password, std::string& out)
{
    const std::string plain = user + ":" + password;
    out.resize(kMaxCredentialsBytes);
    auto length = static_cast<std::uint32_t>(out.size());
    const bool fits = Base64Encode(reinterpret_cast<const std::uint8_t*>(plain.data()),
                                   static_cast<std::uint32_t>(plain.size()), out.data(), length);
    out.resize(length);
    return fits;
}

} // namespace korvane::Utils
