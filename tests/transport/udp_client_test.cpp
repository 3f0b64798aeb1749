#include "transport/udp_client.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <stdexcept>

#include "support/fake_driver.h"
#include "support/loopback.h"
#include "support/table.h"
#include "support/thread_watch.h"

namespace korvane
{

namespace
{

using test::Bytes, test::kLoopback, test::kPatienceMs;
using ::testing::IsEmpty;

// Writes down what it is told. The first byte of a datagram is for the user: 'G' holds the client's thread
// until `go`, and 'T' throws.
class User : public IRTPClientUser
{
public:
    struct Heard
    {
        std::size_t length;
        std::uint8_t last;
    };

    void OnDatagram(IRTPClient&, const platform::SocketAddress& sender, const std::uint8_t* data,
                    std::uint32_t length) override
    {
        EXPECT_EQ(sender.address, kLoopback);
        heard.Add({length, data[length - 1]});
        if (data[0] == 'G')
        {
            held.Set();
            go.Wait(kPatienceMs);
        }
        if (data[0] == 'T')
            throw std::runtime_error("user");
    }
    void OnTimeout(IRTPClient&) override {}
    void OnClosed(IRTPClient&) override { ++closed; }

    test::WatchedList<Heard> heard;
    CEvent held{false};
    CManualEvent go;
    std::atomic<int> closed{0};
};

class Sender : public test::UDPPeer
{
public:
    using UDPPeer::UDPPeer;
    void Send(std::size_t length, char first = 'x', std::uint8_t last = 0)
    {
        Bytes data(length, static_cast<std::uint8_t>(first));
        if (length > 1)
            data.back() = last;
        UDPPeer::Send(data);
    }
    // Holds the client's thread in the user's hands, so that what is sent next arrives together.
    void Hold(User& user)
    {
        Send(1, 'G');
        EXPECT_TRUE(user.held.Wait(kPatienceMs));
    }
};

std::vector<std::size_t> Lengths(const std::vector<User::Heard>& heard)
{
    std::vector<std::size_t> lengths;
    for (const User::Heard& one : heard)
        lengths.push_back(one.length);
    return lengths;
}

} // namespace

// What is too large is lost, and the reads behind it are 1,024 bytes larger, whether it came alone or among
// others in one call.
TEST(UDPClient, GrowsItsReadsWithEachDatagramThatIsTooLarge)
{
    for (const auto& [name, readSize, sent] : test::Table<const char*, std::uint32_t, std::vector<int>>{
             // Lengths; negative ones are lost.
             {"exactly the size", 100, {100, 1}},
             {"one too large", 100, {-101, 1124, 100}},
             {"grown twice and thrice", 100, {-1000, -1125, 2148, -3000, 3172, 10}},
             {"too large for every growth", 100, {-60000, -60000, -60000, -60000, 4196, -4197, 5220}},
             {"more than one call takes",
              2000,
              {-3000, 1, 2, 3, 4, 5, 6, 7, 8, 9, 1, 2, 3, 4, 5, -4000, 3024, 4048, 2}},
             {"the largest there is", 70000, {65507, 1}},
             {"up to the largest there is", 64600, {-65507, 65507}},
         })
    {
        for (const bool together : {true, false})
        {
            SCOPED_TRACE(std::string(name) + (together ? ", together" : ", one by one"));
            User user;
            CUDPClient client(nullptr);
            client.SetReadSize(readSize);
            ASSERT_TRUE(client.StartUnicast(&user, 0));
            Sender sender(client.GetPort());
            sender.Hold(user);
            if (!together)
                user.go.Set();
            std::vector<std::size_t> given = {1}; // what held the client
            for (const int signedLength : sent)
            {
                const auto length = static_cast<std::size_t>(std::abs(signedLength));
                sender.Send(length, 'x', static_cast<std::uint8_t>(length));
                if (signedLength > 0)
                    given.push_back(length);
                EXPECT_TRUE(together || user.heard.WaitForCount(given.size()));
            }
            user.go.Set();
            const auto heard = user.heard.GetOnce(given.size());
            EXPECT_EQ(Lengths(heard), given);
            for (const User::Heard& one : heard)
                EXPECT_TRUE(one.length == 1 || one.last == static_cast<std::uint8_t>(one.length));
        }
    }
}

TEST(UDPClient, LosesNothingOfAKeyFrameWhileItsUserIsBusyAndCountsWhatAFloodLoses)
{
    for (const auto& [bytes, count, isFlood] :
         test::Table<std::size_t, int, bool>{{1400, 250 * 1024 / 1400, false}, {60'000, 200, true}})
    {
        SCOPED_TRACE(bytes);
        User user;
        CUDPClient client(nullptr);
        client.SetReadSize(65535);
        ASSERT_TRUE(client.StartUnicast(&user, 0));
        Sender sender(client.GetPort());
        sender.Hold(user);
        for (int i = 1; i <= count; ++i)
            sender.Send(bytes, 'x', static_cast<std::uint8_t>(i));
        user.go.Set();
        ASSERT_TRUE(user.heard.WaitForCount(2));
        do // the first one behind the flood may be lost too
            sender.Send(10);
        while (!user.heard.WaitFor([](const auto& heard) { return heard.back().length == 10; },
                                   std::chrono::milliseconds(10)));
        std::vector<std::uint8_t> numbers;
        for (const User::Heard& one : user.heard.Get())
            if (one.length == bytes)
                numbers.push_back(one.last);
        EXPECT_TRUE(std::ranges::is_sorted(numbers));
        const auto lost = static_cast<std::uint32_t>(count) - static_cast<std::uint32_t>(numbers.size());
        EXPECT_GE(client.DroppedDatagrams(), lost);
        EXPECT_EQ(lost != 0, isFlood);
    }
}

TEST(UDPClient, AStopEndsTheLongestWaitAndGivesAllBack)
{
    const int descriptors = test::CountOpenDescriptors();
    test::FakeDriver driver;
    User user;
    CUDPClient client(&driver);
    client.SetWaitTime(0x7FFFFFFF);
    std::uint16_t port = 0;
    for (int run = 1; run <= 3; ++run)
    {
        ASSERT_TRUE(client.StartUnicast(&user, port)) << run;
        port = client.GetPort();
        EXPECT_FALSE(CUDPClient(nullptr).StartUnicast(&user, port)) << "the port is taken";
        Sender sender(port);
        sender.Send(5, 'T'); // a user that throws hears the next one all the same
        sender.Send(5);
        EXPECT_TRUE(user.heard.WaitForCount(2 * static_cast<std::size_t>(run)));
        EXPECT_TRUE(client.Stop());
        EXPECT_EQ(user.closed, run);
        EXPECT_EQ(client.GetPort(), 0);
        EXPECT_FALSE(client.SendTo(platform::MakeSocketAddress(kLoopback, port), nullptr, 0));
    }
    EXPECT_TRUE(client.Stop()) << "once more";
    EXPECT_EQ(user.closed, 3) << "and nothing to close";
    EXPECT_EQ(test::CountOpenDescriptors(), descriptors);
    EXPECT_THAT(driver.Messages(), IsEmpty());
}

// The thread of a channel that is stopping can be given up in the middle: its owner stops once more.
TEST(UDPClient, ASecondStopFinishesOneThatWasGivenUp)
{
    test::FakeDriver driver;
    User user, next;
    CUDPClient client(&driver);
    ASSERT_TRUE(client.StartUnicast(&user, 0));
    const std::uint16_t port = client.GetPort();
    Sender(port).Hold(user); // and so the stop waits
    platform::Thread first;
    const auto stop = [](void* context) { return std::uint32_t{static_cast<CUDPClient*>(context)->Stop()}; };
    ASSERT_TRUE(first.Start(stop, &client, "first"));
    ASSERT_TRUE(client.StopEvent().Wait(kPatienceMs));
    ASSERT_TRUE(test::WaitUntilAsleep(first.Id()));
    platform::Thread second; // waits for the first one
    ASSERT_TRUE(second.Start(stop, &client, "second"));
    EXPECT_EQ(second.Wait(100), platform::WaitResult::kTimeout);
    first.GiveUp();
    user.go.Set();
    EXPECT_EQ(second.Wait(kPatienceMs), platform::WaitResult::kSignalled);
    second.GiveUp(); // had it not ended
    EXPECT_EQ(second.ExitCode(), 1u);
    EXPECT_EQ(user.closed, 1);
    EXPECT_TRUE(client.StartUnicast(&next, port)) << "and the port is free";
}

} // namespace korvane
