// One datagram. What passes must lie inside it, and the copying parse must agree with the one in place.

#include <cstdint>
#include <cstring>

#include "require.h"
#include "transport/rtp_packet.h"

namespace
{

void RequireInside(std::span<const std::uint8_t> part, const std::uint8_t* data, std::size_t size)
{
    if (part.empty())
        Require(part.data() == nullptr);
    else
        Require(part.data() >= data + 12 && part.data() + part.size() <= data + size);
}

bool SameBytes(std::span<const std::uint8_t> one, std::span<const std::uint8_t> other)
{
    return one.size() == other.size() &&
           (one.empty() || std::memcmp(one.data(), other.data(), one.size()) == 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto length = static_cast<std::uint32_t>(size);
    korvane::CRTPPacket inPlace;
    korvane::CRTPPacket copy;
    const bool passed = inPlace.ParseInPlace(data, length);
    Require(copy.Parse(data, length) == passed);

    RequireInside(inPlace.Payload(), data, size);
    RequireInside(inPlace.Extension(), data, size);
    Require(SameBytes(inPlace.Payload(), copy.Payload()));
    Require(SameBytes(inPlace.Extension(), copy.Extension()));
    Require(inPlace.Extension().size() == 4u * inPlace.ExtensionWords());
    Require(inPlace.CSRCCount() == copy.CSRCCount());
    for (std::uint32_t i = 0; i < inPlace.CSRCCount(); ++i)
        Require(inPlace.CSRC(i) == copy.CSRC(i));

    // Every byte is accounted for: header, list, extension, payload, padding.
    if (passed)
    {
        const std::size_t extension = (data[0] & 0x10) != 0 ? 4 + copy.Extension().size() : 0;
        const std::size_t padding = copy.Padding() ? data[size - 1] : 0;
        Require(12 + 4 * copy.CSRCCount() + extension + copy.Payload().size() + padding == size);
    }
    return 0;
}
