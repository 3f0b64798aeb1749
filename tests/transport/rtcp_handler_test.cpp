#include "transport/rtcp_handler.h"

#include <gtest/gtest.h>

#include "platform/clock.h"
#include "support/loopback.h"
#include "support/table.h"
#include "transport/wire.h"

namespace
{

using korvane::CRTCPHandler, korvane::SequenceCounter;
using korvane::platform::ParseIPv4;
using namespace korvane::test;

Bytes SenderReport(std::uint8_t ssrc)
{
    return Bytes{0x80, 200, 0, 6, 0xC0, 0xC1, 0xC2, ssrc, 0xD0, 0xD1, 0xD2, 0xD3, 0xD4, 0xD5, 0xD6, 0xD7} +
           Bytes(12);
}

const Bytes kBye = {0x81, 203, 0, 1, 0xC0, 0xC1, 0xC2, 0xC3};

/// The device's side.
class Device : public UDPPeer
{
public:
    void Send(const CRTCPHandler& handler, const Bytes& datagram) { SendTo(handler.GetPort(), datagram); }
};

struct Byes : korvane::IRTCPHandlerUser, WatchedWords
{
    void OnRTCPBye() override { Add("bye"); }
};

/// The start of a report or a BYE: type and own SSRC.
Bytes OwnSsrc(const Bytes& packet)
{
    return packet.size() < 8 ? Bytes() : Bytes(packet.begin() + 4, packet.begin() + 8);
}

TEST(RTCPHandler, AnswersSenderReports)
{
    korvane::platform::ManualClock clock(133'000'000'000'000'000, 5000);
    CRTCPHandler handler(nullptr);
    handler.SetReportInterval(50);
    ASSERT_TRUE(handler.StartUnicast(kLoopback, 0));
    handler.OnRTPSequence(65534);
    handler.OnRTPSequence(65535);
    handler.OnRTPSequence(3);

    Device device;
    korvane::CUDPClient client(nullptr); // whoever it is; the sender counts
    const Bytes foreign = SenderReport(0xEE);
    handler.OnDatagram(client, korvane::platform::MakeSocketAddress(*ParseIPv4("192.0.2.9"), 5557),
                       foreign.data(), static_cast<std::uint32_t>(foreign.size()));
    device.Send(handler, {0x80, 200, 0});                            // cut
    device.Send(handler, {0x80, 200, 0, 6, 0, 0, 0, 1});             // longer than it is
    device.Send(handler, {0x80, 200, 0, 2, 0, 0, 0, 2, 1, 2, 3, 4}); // too short for a sender's time
    device.Send(handler, Bytes{0x80, 202, 0, 1, 1, 2, 3, 4} + SenderReport(0xC3));

    Bytes report = device.Receive();
    ASSERT_EQ(32u, report.size());
    const Bytes ssrc = OwnSsrc(report);
    const Bytes expected = Bytes{0x81, 201, 0, 7} + ssrc + Bytes{0xC0, 0xC1, 0xC2, 0xC3, 0, 0, 0, 0} +
                           Bytes{0, 1, 0, 3, 0, 0, 0, 0, 0xD2, 0xD3, 0xD4, 0xD5, 0, 0, 0, 0};
    EXPECT_EQ(expected, report);

    // A report from another port is answered where the first one came from.
    Device other;
    other.Send(handler, SenderReport(0xC4));
    while ((report = device.Receive()).size() == 32 && report[11] == 0xC3)
        ;
    ASSERT_EQ(32u, report.size());
    EXPECT_EQ(0xC4, report[11]);

    // None comes for a while: the handler reports by itself, with the time since the last one.
    clock.AdvanceMs(1500);
    while ((report = device.Receive()).size() == 32 && report[29] == 0)
        ;
    ASSERT_EQ(32u, report.size());
    EXPECT_EQ((Bytes{0, 1, 0x80, 0}), Bytes(report.end() - 4, report.end())); // in 1/65536 s
    handler.Stop();
    while ((report = device.Receive()).size() == 32)
        ;
    EXPECT_EQ((Bytes{0x81, 203, 0, 1} + ssrc), report);
    EXPECT_TRUE(device.Receive(50).empty()); // one BYE is enough
    EXPECT_TRUE(other.Receive(1).empty());
}

TEST(RTCPHandler, PassesOnTheDevicesBye)
{
    Byes byes;
    CRTCPHandler handler(nullptr);
    handler.SetUser(&byes);
    ASSERT_TRUE(handler.StartUnicast(kLoopback, 0));
    Device device;
    device.Send(handler, kBye); // before any report: not ours
    device.Send(handler, SenderReport(1) + kBye + kBye);
    EXPECT_TRUE(byes.WaitForWord("bye"));
    device.Send(handler, kBye);
    device.Send(handler, SenderReport(2) + kBye);
    EXPECT_TRUE(byes.WaitForWord("bye, bye"));
    handler.Stop();
    EXPECT_EQ("bye, bye", byes.Get());
}

TEST(RTCPHandler, BeginsAfreshOnRestart)
{
    CRTCPHandler handler(nullptr);
    ASSERT_TRUE(handler.StartUnicast(kLoopback, 0));
    Device device;
    device.Send(handler, SenderReport(1));
    const Bytes first = OwnSsrc(device.Receive());
    handler.Restart();
    const Bytes bye = device.Receive();
    EXPECT_EQ((Bytes{0x81, 203, 0, 1} + first), bye);

    Device moved; // the device comes back on another port
    Bytes second;
    for (int i = 0; i < 100 && second.empty(); ++i) // a report may come before the restart is through
    {
        moved.Send(handler, SenderReport(2));
        second = OwnSsrc(moved.Receive(200));
    }
    EXPECT_EQ(4u, second.size());
    EXPECT_NE(first, second);
    handler.Stop();
}

TEST(SequenceCounter, FollowsWrapsLossesAndRestarts)
{
    for (const auto& [name, sequence, highest, received] :
         Table<const char*, std::vector<std::uint16_t>, std::uint32_t, std::uint32_t>{
             {"the first one", {7}, 7, 1},
             {"number 0 first", {0, 1}, 1, 2},
             {"a wrap", {65534, 65535, 0, 1}, 65536 + 1, 4},
             {"a loss over a wrap", {65000, 20}, 65536 + 20, 2},
             {"the largest loss", {10, 3009}, 3009, 2},
             {"a leap that nothing confirms", {10, 3010, 11}, 11, 2},
             {"a leap that the next confirms", {10, 20000, 20001}, 20001, 1},
             {"late and twice", {200, 201, 201, 102}, 201, 4},
             {"too late is a leap", {200, 99, 201}, 201, 2},
             {"wraps are forgotten in a leap", {65535, 0, 30000, 30001}, 30001, 1},
         })
    {
        SCOPED_TRACE(name);
        SequenceCounter counter;
        for (const std::uint16_t number : sequence)
            counter.Update(number);
        EXPECT_EQ(highest, counter.ExtendedHighest());
        EXPECT_EQ(received, counter.Received());
        counter.Restart();
        EXPECT_EQ(0u, counter.ExtendedHighest());
        counter.Update(5);
        EXPECT_EQ(5u, counter.ExtendedHighest());
    }
}

} // namespace
