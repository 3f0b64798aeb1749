#include "transport/rtp_receiver.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <gmock/gmock.h>
#include <numeric>
#include <stdexcept>
#include <thread>

#include "platform/clock.h"
#include "support/fake_driver.h"
#include "support/loopback.h"
#include "support/table.h"
#include "transport/udp_client.h"
#include "transport/wire.h"

namespace korvane
{

namespace
{

using test::Bytes, test::kPatienceMs, test::UDPPeer;
using ::testing::ElementsAre, ::testing::IsEmpty;

Bytes MakePacket(std::uint16_t sequence, std::size_t payloadBytes = 100)
{
    return test::RTPBytes(sequence, Bytes(payloadBytes, 0x55));
}

// Writes sequence numbers down. Number 1 holds the queue's thread until `go`; number 13 throws.
class User : public IRTPReceiverUser
{
public:
    void OnRTPReceived(const platform::SocketAddress& sender, CRTPPacket& packet) override
    {
        const std::uint16_t sequence = packet.SequenceNumber();
        ports.Add(ntohs(sender.port));
        sequences.Add(sequence);
        if (sequence == 1)
        {
            held.Set();
            go.Wait(kPatienceMs);
        }
        if (sequence == 13)
            throw std::runtime_error("thirteen");
    }

    bool WaitForSequence(std::uint16_t last)
    {
        return sequences.WaitFor([&](const auto& all) { return !all.empty() && all.back() == last; });
    }

    test::WatchedList<std::uint16_t> sequences, ports;
    CEvent held{false};
    CManualEvent go;
};

// Waits until everything sent to `port` has been taken out of the socket (proc_net(5)).
bool WaitUntilTaken(std::uint16_t port)
{
    char address[16];
    std::snprintf(address, sizeof address, ":%04X ", port);
    const auto end = std::chrono::steady_clock::now() + test::kPatience;
    while (std::chrono::steady_clock::now() < end)
    {
        std::ifstream sockets("/proc/self/net/udp");
        for (std::string line; std::getline(sockets, line);)
        {
            if (line.find(address) < 20 && line.find(":00000000 00:") != std::string::npos)
                return true;
        }
        std::this_thread::yield();
    }
    return false;
}

std::vector<std::uint16_t> CountUpTo(std::size_t last, std::size_t count)
{
    std::vector<std::uint16_t> numbers(count);
    std::iota(numbers.begin(), numbers.end(), static_cast<std::uint16_t>(last + 1 - count));
    return numbers;
}

struct RTPReceiver : ::testing::Test
{
    RTPReceiver() { receiver.SetUser(&user); }

    // Gives the user the packet that it does not come back from until it is let go.
    void HoldUser()
    {
        UDPPeer(receiver.GetPort()).Send(MakePacket(1));
        ASSERT_TRUE(user.held.Wait(kPatienceMs));
    }

    // As the client's thread does it while the user is held, without a socket between.
    void Arrive(IRTPClient& client, const Bytes& packet)
    {
        receiver.OnDatagram(client, {}, packet.data(), static_cast<std::uint32_t>(packet.size()));
    }

    test::FakeDriver driver;
    User user;
    CRTPReceiver receiver{&driver};
};

} // namespace

TEST_F(RTPReceiver, HandsPacketsOverInOrderOfArrivalAndDropsWhatIsNone)
{
    ASSERT_TRUE(receiver.StartUnicast(0));
    UDPPeer first(receiver.GetPort());
    UDPPeer second(receiver.GetPort());
    first.Send(MakePacket(7));
    first.Send({});
    first.Send({0x80, 96});
    first.Send(MakePacket(5));  // no reordering
    first.Send(MakePacket(13)); // what the user throws at is over with
    first.Send(Bytes(50, 0x40));
    ASSERT_TRUE(user.WaitForSequence(13));
    second.Send(MakePacket(5)); // no dedupe
    second.Send(Bytes(3000, 0x80));
    second.Send(MakePacket(6));
    EXPECT_THAT(user.sequences.GetOnce(5), ElementsAre(7, 5, 13, 5, 6));
    EXPECT_THAT(user.ports.Get(),
                ElementsAre(first.Port(), first.Port(), first.Port(), second.Port(), second.Port()));
    receiver.Stop();
    EXPECT_EQ(receiver.GetPort(), 0);
    EXPECT_THAT(driver.Messages(), IsEmpty());
}

TEST_F(RTPReceiver, AStopFreesWhatIsQueuedAndLaterPackets)
{
    ASSERT_TRUE(receiver.StartUnicast(0));
    const auto client = receiver.Client();
    HoldUser();
    Arrive(*client, MakePacket(2));
    Arrive(*client, MakePacket(3));
    std::thread helper(
        [&]
        {
            EXPECT_TRUE(receiver.StopEvent().Wait(kPatienceMs));
            user.go.Set();
        });
    receiver.Stop();
    helper.join();
    Arrive(*client, MakePacket(4));
    EXPECT_THAT(user.sequences.GetOnce(1), ElementsAre(1));

    // The object serves again, and nothing of before comes out of it.
    for (const std::uint16_t sequence : {std::uint16_t{10}, std::uint16_t{11}})
    {
        ASSERT_TRUE(receiver.StartUnicast(0));
        UDPPeer(receiver.GetPort()).Send(MakePacket(sequence));
        ASSERT_TRUE(user.WaitForSequence(sequence));
        receiver.Stop();
    }
    EXPECT_THAT(user.sequences.GetOnce(3), ElementsAre(1, 10, 11));
}

// A user that does not keep up finds the queue gone as a whole, again and again; what it then gets is
// unbroken. One line tells of each run.
TEST_F(RTPReceiver, AFullQueueIsDroppedAndCounted)
{
    constexpr std::size_t kPayload = 1400;
    constexpr auto kMany = static_cast<std::uint16_t>(3 * CRTPReceiver::kMostQueuedBytes / kPayload);
    ASSERT_TRUE(receiver.StartUnicast(0));
    const auto client = receiver.Client();
    std::uint64_t droppedBefore = 0;
    for (int run = 1; run <= 2; ++run)
    {
        user.sequences.Set({});
        HoldUser();
        for (std::uint16_t sequence = 2; sequence <= kMany; ++sequence)
            Arrive(*client, MakePacket(sequence, kPayload));
        user.go.Set();
        ASSERT_TRUE(user.WaitForSequence(kMany));
        user.go.Reset();
        const std::vector<std::uint16_t> given = user.sequences.Get();
        const std::uint64_t dropped = receiver.DroppedPackets() - droppedBefore;
        droppedBefore += dropped;
        EXPECT_EQ(given.size() + dropped, kMany);
        EXPECT_GT(dropped, kMany / 2u) << "it was full twice";
        EXPECT_LT(given.size() * kPayload, CRTPReceiver::kMostQueuedBytes);
        ASSERT_EQ(given.at(0), 1);
        EXPECT_EQ(std::vector<std::uint16_t>(given.begin() + 1, given.end()),
                  CountUpTo(kMany, given.size() - 1));
        EXPECT_EQ(driver.Messages().size(), static_cast<std::size_t>(run));
    }
    EXPECT_THAT(driver.Texts(2),
                testing::Each(testing::StartsWith("korvane::CRTPReceiver::OnDatagram: The user of port " +
                                                  std::to_string(receiver.GetPort()))));
}

// A user that is slow now and then: the reader changes many times, and nothing is lost or overtaken.
TEST_F(RTPReceiver, KeepsTheOrderThroughEveryChangeOfReader)
{
    struct FitfulUser : User
    {
        void OnRTPReceived(const platform::SocketAddress& sender, CRTPPacket& packet) override
        {
            if (packet.SequenceNumber() % 200 == 0)
                never.Wait(10); // longer than two looks
            User::OnRTPReceived(sender, packet);
        }
        CEvent never{false};
    } fitful;
    constexpr std::uint16_t kMany = 4000;
    CRTPReceiver own(&driver);
    own.SetUser(&fitful);
    fitful.go.Set();
    ASSERT_TRUE(own.StartUnicast(0));
    const std::uint16_t port = own.GetPort();
    UDPPeer sender(port);
    for (std::uint16_t sequence = 1; sequence <= kMany; ++sequence)
    {
        sender.Send(MakePacket(sequence, 1400));
        ASSERT_TRUE(sequence % 50 != 0 || WaitUntilTaken(port));
    }
    EXPECT_EQ(fitful.sequences.GetOnce(kMany), CountUpTo(kMany, kMany));
}

// What arrives while the user stays with a packet is read soon, whenever that begins.
TEST_F(RTPReceiver, ReadsWithin10MsOfTheUsersBlocking)
{
    constexpr std::size_t kTries = 21;
    ASSERT_TRUE(receiver.StartUnicast(0));
    const std::uint16_t port = receiver.GetPort();
    std::vector<std::chrono::steady_clock::duration> delays;
    for (std::size_t i = 0; i < kTries; ++i)
    {
        UDPPeer(port).Send(MakePacket(static_cast<std::uint16_t>(1000 + i))); // and so there was a quick one
        ASSERT_TRUE(user.WaitForSequence(static_cast<std::uint16_t>(1000 + i)));
        HoldUser();
        const auto blocked = std::chrono::steady_clock::now();
        UDPPeer(port).Send(MakePacket(2));
        ASSERT_TRUE(WaitUntilTaken(port));
        delays.push_back(std::chrono::steady_clock::now() - blocked);
        user.go.Set();
        ASSERT_TRUE(user.WaitForSequence(2));
        user.go.Reset();
        std::this_thread::sleep_for(std::chrono::milliseconds(i % 7)); // another place between two looks
    }
    std::ranges::nth_element(delays, delays.begin() + kTries / 4); // the machine may be busy
    EXPECT_LE(delays[kTries / 4], std::chrono::milliseconds(10));
}

TEST_F(RTPReceiver, ALogThatStallsDoesNotHoldUpTheSocket)
{
    struct StallingLog : IDebugMessage
    {
        std::string GetDeviceName() const override { return {}; }
        void DebugMessage(std::int32_t, const char*, ...) override
        {
            stalls.Set();
            go.Wait(2 * kPatienceMs);
        }
        CManualEvent stalls, go;
    } log;
    CRTPReceiver own(&log);
    own.SetUser(&user);
    ASSERT_TRUE(own.StartUnicast(0));
    const std::uint16_t port = own.GetPort();
    UDPPeer sender(port);
    sender.Send(MakePacket(1));
    ASSERT_TRUE(user.held.Wait(kPatienceMs));
    std::uint16_t sequence = 2;
    for (; own.DroppedPackets() == 0; ++sequence)
    {
        sender.Send(MakePacket(sequence, 1400));
        ASSERT_TRUE(sequence % 50 != 0 || WaitUntilTaken(port));
    }
    user.go.Set();
    ASSERT_TRUE(log.stalls.Wait(kPatienceMs));
    sender.Send(MakePacket(sequence));
    EXPECT_TRUE(WaitUntilTaken(port));
    log.go.Set();
    EXPECT_TRUE(user.WaitForSequence(sequence));
}

// Large ones fill the system's buffer before the user is seen to be blocked.
TEST_F(RTPReceiver, TellsOnceAMinuteWhatTheSystemDropped)
{
    platform::ManualClock clock(133'000'000'000'000'000);
    ASSERT_TRUE(receiver.StartUnicast(0));
    UDPPeer sender(receiver.GetPort());
    std::uint32_t told = 0, toTell = 0;
    for (const auto& [name, advanceMs, lines] : test::Table<const char*, std::uint32_t, std::size_t>{
             {"the first", 0, 1},
             {"within the minute", 59'999, 1},
             {"the minute is over", 1, 2},
         })
    {
        SCOPED_TRACE(name);
        clock.AdvanceMs(advanceMs);
        HoldUser();
        for (int i = 0; i < 200; ++i)
            sender.Send(Bytes(60'000, 0));
        user.go.Set();
        // The loss is told between packets, at the latest when none is left.
        for (int i = 0; i < 2 || (driver.Texts(2).size() < lines && i < 100); ++i)
        {
            sender.Send(MakePacket(2));
            ASSERT_TRUE(user.WaitForSequence(2));
            user.sequences.Set({});
        }
        user.go.Reset();
        ASSERT_EQ(driver.Texts(2).size(), lines);
        if (lines == 1)
            toTell = receiver.Client()->DroppedDatagrams();
    }
    for (const std::string& text : driver.Texts(2))
    {
        unsigned port = 0, count = 0;
        ASSERT_EQ(2, std::sscanf(text.c_str(),
                                 "korvane::CRTPReceiver::Run: The receive buffer of port %u was full: %u "
                                 "packets were dropped",
                                 &port, &count));
        EXPECT_EQ(receiver.GetPort(), port);
        EXPECT_GT(count, 0u);
        told += count;
    }
    EXPECT_LE(told, receiver.Client()->DroppedDatagrams());
    EXPECT_GE(told, toTell) << "what was not told at once comes with the next line";
}

} // namespace korvane
