// Base64 in both directions, with the room drawn from the first two bytes.

#include "runtime/encoding.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

using namespace korvane::Utils;

namespace
{

void DecodeIntoAnyRoom(const std::uint8_t* data, std::uint32_t size, std::uint32_t room)
{
    std::vector<std::uint8_t> out(room);
    std::uint32_t length = room;
    const bool fits = Base64Decode(reinterpret_cast<const char*>(data), size, out.data(), length);
    if (length > room || (!fits && length != 0))
        std::abort();

    std::vector<std::uint8_t> ample(size);
    std::uint32_t full = size;
    if (!Base64Decode(reinterpret_cast<const char*>(data), size, ample.data(), full))
        std::abort(); // a decoded text is never longer than its encoding
    if (fits != (full <= room) || (fits && !std::equal(out.begin(), out.begin() + length, ample.begin())))
        std::abort();
}

void RoundTrip(const std::uint8_t* data, std::uint32_t size)
{
    std::vector<char> encoded(2 * size + 8);
    auto length = static_cast<std::uint32_t>(encoded.size());
    if (!Base64Encode(data, size, encoded.data(), length))
        std::abort();
    std::vector<std::uint8_t> decoded(size);
    std::uint32_t back = size;
    if (!Base64Decode(encoded.data(), length, decoded.data(), back) || back != size ||
        !std::equal(decoded.begin(), decoded.end(), data))
    {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2)
        return 0;
    const std::uint32_t room = data[0] | (data[1] & 0x03u) << 8;
    const auto rest = static_cast<std::uint32_t>(size - 2);
    DecodeIntoAnyRoom(data + 2, rest, room);
    RoundTrip(data + 2, rest);
    std::vector<char> small(room);
    std::uint32_t length = room;
    if (!Base64Encode(data + 2, rest, small.data(), length) && length != 0)
        std::abort();
    std::vector<std::uint8_t> hex;
    HexToBytes({reinterpret_cast<const char*>(data), size}, hex);
    return hex.size() == (size + 1) / 2 ? 0 : (std::abort(), 0);
}
