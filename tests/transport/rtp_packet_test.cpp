#include "transport/rtp_packet.h"

#include "support/bytes.h"
#include "support/table.h"

#include <cstring>
#include <utility>

#include <gtest/gtest.h>

namespace
{

using korvane::CRTPPacket;
using namespace korvane::test;

// Everything optional at once: one CSRC, a one-word extension, two payload bytes, two of padding.
const Bytes kFull = {0xB1, 0xE0, 0xFF, 0xFF, 0x00, 0x01, 0x5F, 0x90, 0xCA, 0xFE, 0x00, 0x01, 0x00, 0x00,
                     0x00, 0x07, 0xAB, 0xAC, 0x00, 0x01, 0x11, 0x22, 0x33, 0x44, 0x65, 0x88, 0x00, 0x02};

Bytes Header(std::uint8_t first, const Bytes& behind)
{
    return Bytes{first, 0x60, 0x00, 0x01, 0x00, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 0x03} + behind;
}

Bytes With(Bytes packet, std::size_t at, std::uint8_t value)
{
    packet[at] = value;
    return packet;
}

Bytes ToBytes(std::span<const std::uint8_t> span)
{
    return {span.begin(), span.end()};
}

bool Parses(const Bytes& bytes)
{
    CRTPPacket packet;
    if (packet.Parse(bytes.data(), static_cast<std::uint32_t>(bytes.size())))
        return true;
    EXPECT_EQ(nullptr, packet.Payload().data());
    EXPECT_EQ(0u, packet.SequenceNumber());
    return false;
}

void ExpectFull(const CRTPPacket& packet)
{
    EXPECT_TRUE(packet.Marker());
    EXPECT_TRUE(packet.Padding());
    EXPECT_EQ(96, packet.PayloadType());
    EXPECT_EQ(65535, packet.SequenceNumber());
    EXPECT_EQ(90000u, packet.Timestamp());
    ASSERT_EQ(1u, packet.CSRCCount());
    const std::uint32_t sources[] = {packet.SSRC(), packet.CSRC(0)}; // as they stood on the wire
    EXPECT_EQ(0, std::memcmp(sources, "\xCA\xFE\x00\x01\x00\x00\x00\x07", sizeof sources));
    EXPECT_EQ(0xABAC, packet.ExtensionProfile());
    EXPECT_EQ((Bytes{0x11, 0x22, 0x33, 0x44}), ToBytes(packet.Extension()));
    EXPECT_EQ((Bytes{0x65, 0x88}), ToBytes(packet.Payload()));
}

TEST(RTPPacket, ReadsEveryPartOfAPacket)
{
    CRTPPacket packet;
    {
        Bytes received = kFull;
        ASSERT_TRUE(packet.Parse(received.data(), static_cast<std::uint32_t>(received.size())));
        received.assign(received.size(), 0); // the packet has bytes of its own
    }
    ExpectFull(packet);

    CRTPPacket moved = std::move(packet);
    ExpectFull(moved);

    CRTPPacket inPlace;
    ASSERT_TRUE(inPlace.ParseInPlace(kFull.data(), static_cast<std::uint32_t>(kFull.size())));
    ExpectFull(inPlace);
    EXPECT_EQ(kFull.data() + 24, inPlace.Payload().data());
}

// A block serves again, but a small packet never keeps a large one.
TEST(RTPPacket, HoldsLittleMoreThanItKeeps)
{
    CRTPPacket packet;
    for (const std::uint32_t payloadBytes : {1400u, 65'000u, 700u, 1400u, 1u, 1400u})
    {
        const Bytes received = Header(0x80, Bytes(payloadBytes, 1));
        ASSERT_TRUE(packet.Parse(received.data(), static_cast<std::uint32_t>(received.size())));
        EXPECT_GE(packet.Capacity(), payloadBytes);
        EXPECT_LE(packet.Capacity(), 2 * payloadBytes + CRTPPacket::kMostSpareBytes);
    }
}

TEST(RTPPacket, RefusesWhatItCannotTrust)
{
    for (const auto& [name, at, value] : Table<const char*, std::size_t, std::uint8_t>{
             {"version 1", 0, 0x71},
             {"version 3", 0, 0xF1},
             {"CSRC count past the end", 0, 0xBF},
             {"CSRC list that fills the packet", 0, 0xB4},
             {"extension past the end", 19, 0xFF},
             {"extension past the end by its high byte", 18, 0xFF},
             {"padding past the header", 27, 5},
         })
    {
        SCOPED_TRACE(name);
        EXPECT_FALSE(Parses(With(kFull, at, value)));
    }
    for (std::size_t n = 0; n < 25; ++n) // exact-size copies let the address sanitizer see one byte too far
        EXPECT_FALSE(Parses(Bytes(kFull.begin(), kFull.begin() + static_cast<std::ptrdiff_t>(n)))) << n;
}

TEST(RTPPacket, MeasuresThePayloadAtTheEdges)
{
    for (const auto& [name, bytes, passes, payload] : Table<const char*, Bytes, bool, Bytes>{
             {"a fixed header alone", Header(0x80, {}), false, {}},
             {"one byte", Header(0x80, {0x41}), true, {0x41}},
             {"padding that is the whole payload", Header(0xA0, {0x00, 0x00, 0x03}), true, {}},
             {"padding of one byte more", Header(0xA0, {0x00, 0x00, 0x04}), false, {}},
             {"padding of no byte", Header(0xA0, {0x41, 0x00}), true, {0x41, 0x00}},
             {"CSRC list and nothing behind", Header(0x81, {1, 2, 3, 4}), false, {}},
             {"CSRC list and one byte", Header(0x81, {1, 2, 3, 4, 5}), true, {5}},
             {"extension bit with nothing behind the CSRC list", Header(0x91, {1, 2, 3, 4}), false, {}},
             {"extension header cut", Header(0x90, {0xBE, 0xDE, 0x00}), false, {}},
             {"empty extension and no payload", Header(0x90, {0xBE, 0xDE, 0x00, 0x00}), true, {}},
             {"empty extension", Header(0x90, {0xBE, 0xDE, 0x00, 0x00, 0x41}), true, {0x41}},
             {"extension that ends the packet", Header(0x90, {0xBE, 0xDE, 0x00, 0x01, 1, 2, 3, 4}), true, {}},
         })
    {
        SCOPED_TRACE(name);
        CRTPPacket packet;
        EXPECT_EQ(passes, packet.Parse(bytes.data(), static_cast<std::uint32_t>(bytes.size())));
        EXPECT_EQ(payload, ToBytes(packet.Payload()));
        EXPECT_EQ(payload.empty(), packet.Payload().data() == nullptr);
    }
}

} // namespace
