#include "transport/rtp_receiver.h"

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <fstream>
#include <gmock/gmock.h>
#include <memory>
#include <mutex>
#include <numeric>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "platform/thread.h"
#include "support/fake_driver.h"
#include "transport/udp_client.h"

namespace korvane
{

namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Bytes = std::vector<std::uint8_t>;
constexpr std::uint32_t kPatienceMs = 20000;
const std::uint32_t kLoopback = *platform::ParseIPv4("127.0.0.1");

Bytes MakePacket(std::uint16_t sequence, std::size_t payloadBytes = 100)
{
    const auto high = static_cast<std::uint8_t>(sequence >> 8);
    Bytes packet = {0x80, 96, high, static_cast<std::uint8_t>(sequence), 0, 0, 0, 0, 1, 2, 3, 4};
    packet.resize(packet.size() + payloadBytes, 0x55);
    return packet;
}

// Writes sequence numbers down. Number 1 holds the queue's thread until `go`; number 13 throws.
class User : public IRTPReceiverUser
{
public:
    void OnRTPReceived(const platform::SocketAddress& sender, CRTPPacket& packet) override
    {
        const std::uint16_t sequence = packet.SequenceNumber();
        {
            const std::lock_guard guard(mutex_);
            sequences_.push_back(sequence);
            ports_.push_back(platform::ToHost(sender.port));
            changed_.notify_all();
        }
        if (sequence == 1)
        {
            held.Set();
            go.Wait(kPatienceMs);
        }
        if (sequence == 13)
            throw std::runtime_error("thirteen");
    }
    void OnRTPTimeout() override {}
    void OnRTPClosed() override {}

    std::vector<std::uint16_t> WaitForPackets(std::size_t count)
    {
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, std::chrono::milliseconds(kPatienceMs),
                          [&] { return sequences_.size() >= count; });
        return sequences_;
    }
    bool WaitForSequence(std::uint16_t last)
    {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::milliseconds(kPatienceMs),
                                 [&] { return !sequences_.empty() && sequences_.back() == last; });
    }
    std::vector<std::uint16_t> Ports()
    {
        const std::lock_guard guard(mutex_);
        return ports_;
    }

    CEvent held{false};
    CManualEvent go;

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::uint16_t> sequences_;
    std::vector<std::uint16_t> ports_;
};

class Sender
{
public:
    explicit Sender(std::uint16_t port) : to_(platform::MakeSocketAddress(kLoopback, port))
    {
        EXPECT_TRUE(socket_.OpenDatagram() && socket_.Bind(0));
    }
    void Send(const Bytes& data) { EXPECT_GE(socket_.SendTo(to_, data), 0); }
    std::uint16_t Port() const { return socket_.LocalPort(); }

private:
    platform::Socket socket_;
    platform::SocketAddress to_;
};

// Waits until everything sent to `port` has been taken out of the socket (proc_net(5)).
bool WaitUntilTaken(std::uint16_t port)
{
    char address[16];
    std::snprintf(address, sizeof address, ":%04X ", port);
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPatienceMs);
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

auto CountsUpTo(std::size_t last, std::size_t count)
{
    std::vector<std::uint16_t> expected(count);
    std::iota(expected.begin(), expected.end(), static_cast<std::uint16_t>(last + 1 - count));
    return testing::ElementsAreArray(expected);
}

struct RTPReceiver : ::testing::Test
{
    RTPReceiver() { receiver.SetUser(&user); }

    // Gives the user the packet that it does not come back from until it is let go.
    void HoldUser()
    {
        Sender(receiver.GetPort()).Send(MakePacket(1));
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
    ASSERT_TRUE(receiver.StartUnicast(false, 0));
    Sender first(receiver.GetPort());
    Sender second(receiver.GetPort());
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
    EXPECT_THAT(user.WaitForPackets(5), ElementsAre(7, 5, 13, 5, 6));
    EXPECT_THAT(user.Ports(),
                ElementsAre(first.Port(), first.Port(), first.Port(), second.Port(), second.Port()));
    receiver.Stop();
    EXPECT_EQ(receiver.GetPort(), 0);
    EXPECT_THAT(driver.Messages(), IsEmpty());
}

TEST_F(RTPReceiver, AStopFreesWhatIsQueuedAndLaterPackets)
{
    ASSERT_TRUE(receiver.StartUnicast(false, 0));
    const auto client = receiver.Client();
    HoldUser();
    for (const std::uint16_t sequence : std::vector<std::uint16_t>{2, 3})
        Arrive(*client, MakePacket(sequence));
    std::thread helper(
        [&]
        {
            EXPECT_TRUE(receiver.StopEvent().Wait(kPatienceMs));
            user.go.Set();
        });
    receiver.Stop();
    helper.join();
    Arrive(*client, MakePacket(4));
    EXPECT_THAT(user.WaitForPackets(1), ElementsAre(1));

    // The object serves again, on the same port too, and nothing of before comes out of it.
    for (int run = 0; run < 2; ++run)
    {
        ASSERT_TRUE(receiver.StartUnicast(false, 0));
        const std::uint16_t port = receiver.GetPort();
        Sender(port).Send(MakePacket(static_cast<std::uint16_t>(10 + run)));
        ASSERT_TRUE(user.WaitForSequence(static_cast<std::uint16_t>(10 + run)));
        receiver.Stop();
    }
    EXPECT_THAT(user.WaitForPackets(3), ElementsAre(1, 10, 11));
}

// A user that does not keep up finds the queue gone as a whole, again and again; what it then gets is
// unbroken. One line tells of each run.
TEST_F(RTPReceiver, AFullQueueIsDroppedAndCounted)
{
    constexpr std::size_t kPayload = 1400;
    constexpr auto kMany = static_cast<std::uint16_t>(3 * CRTPReceiver::kMostQueuedBytes / kPayload);
    ASSERT_TRUE(receiver.StartUnicast(false, 0));
    const auto client = receiver.Client();
    std::size_t before = 0;
    std::uint64_t droppedBefore = 0;
    for (int run = 1; run <= 2; ++run)
    {
        HoldUser();
        for (std::uint16_t sequence = 2; sequence <= kMany; ++sequence)
            Arrive(*client, MakePacket(sequence, kPayload));
        user.go.Set();
        ASSERT_TRUE(user.WaitForSequence(kMany));
        user.go.Reset();
        const auto all = user.WaitForPackets(0);
        std::vector<std::uint16_t> given(all.begin() + static_cast<std::ptrdiff_t>(before), all.end());
        before = all.size();
        const std::uint64_t dropped = receiver.DroppedPackets() - droppedBefore;
        droppedBefore += dropped;
        EXPECT_EQ(given.size() + dropped, kMany);
        EXPECT_GT(dropped, kMany / 2u) << "it was full twice";
        EXPECT_LT(given.size() * kPayload, CRTPReceiver::kMostQueuedBytes);
        ASSERT_EQ(given.at(0), 1);
        EXPECT_THAT(std::vector<std::uint16_t>(given.begin() + 1, given.end()),
                    CountsUpTo(kMany, given.size() - 1));
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
                never.Wait(40); // longer than two looks at this rate
            User::OnRTPReceived(sender, packet);
        }
        CEvent never{false};
    } fitful;
    constexpr std::uint16_t kMany = 4000;
    CRTPReceiver own(&driver);
    own.SetUser(&fitful);
    fitful.go.Set();
    ASSERT_TRUE(own.StartUnicast(false, 0));
    const std::uint16_t port = own.GetPort();
    Sender sender(port);
    for (std::uint16_t sequence = 1; sequence <= kMany; ++sequence)
    {
        sender.Send(MakePacket(sequence, 1400));
        ASSERT_TRUE(sequence % 50 != 0 || WaitUntilTaken(port));
    }
    EXPECT_THAT(fitful.WaitForPackets(kMany), CountsUpTo(kMany, kMany));
}

TEST_F(RTPReceiver, GivesUpAUserThatNeverComesBack)
{
    struct DeafUser : User
    {
        void OnRTPReceived(const platform::SocketAddress&, CRTPPacket& packet) override
        {
            {
                const platform::AwayScope host;
                static CManualEvent never;
                held.Set();
                never.Wait(kWaitForever);
            }
            packet = CRTPPacket(); // gone, and so is everything else
        }
    };
    auto deaf = std::make_unique<DeafUser>();
    auto own = std::make_unique<CRTPReceiver>(&driver);
    own->SetUser(deaf.get());
    ASSERT_TRUE(own->StartUnicast(false, 0));
    Sender(own->GetPort()).Send(MakePacket(2));
    ASSERT_TRUE(deaf->held.Wait(kPatienceMs));
    own.reset();
    deaf.reset();
    EXPECT_TRUE(driver.WaitForMessage("was not stopped during 2000 milliseconds and will be terminated!"));
}

} // namespace korvane
