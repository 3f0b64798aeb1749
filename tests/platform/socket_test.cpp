#include "platform/socket.h"

#include <array>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

#include "support/multicast_network.h"

namespace korvane::platform
{

namespace
{

using Bytes = std::vector<std::uint8_t>;

const std::uint32_t kLoopback = *ParseIPv4("127.0.0.1");
constexpr std::uint32_t kPatienceMs = 20000;

// Two datagram sockets of which one sends to the other.
struct Pair
{
    Pair()
    {
        EXPECT_TRUE(receiver.OpenDatagram() && receiver.Bind(0) && sender.OpenDatagram() && sender.Bind(0));
        receiver.SetReceiveTimeout(kPatienceMs);
        to = MakeSocketAddress(kLoopback, receiver.LocalPort());
    }

    void Send(std::size_t length, std::uint8_t fill = 0)
    {
        EXPECT_EQ(sender.SendTo(to, Bytes(length, fill)), static_cast<std::ptrdiff_t>(length));
    }

    Socket receiver;
    Socket sender;
    SocketAddress to;
};

} // namespace

TEST(Socket, APortIsTakenOnceUnlessItIsShared)
{
    Socket first;
    Socket second;
    ASSERT_TRUE(first.OpenDatagram() && first.Bind(0) && second.OpenDatagram());
    EXPECT_FALSE(first.OpenDatagram()) << "it is open";
    EXPECT_FALSE(second.Bind(first.LocalPort()));
    const std::uint16_t port = first.LocalPort();
    for (Socket* socket : {&first, &second})
    {
        socket->Close();
        ASSERT_TRUE(socket->OpenDatagram() && socket->SetReuseAddress(true));
        EXPECT_TRUE(socket->Bind(port));
    }
    EXPECT_EQ(Socket().LocalPort(), 0);
}

TEST(Socket, WorksAboveDescriptor1023)
{
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    if (limit.rlim_cur < 1100)
        GTEST_SKIP() << "only " << limit.rlim_cur << " descriptors allowed";
    std::vector<int> fillers;
    do
        fillers.push_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
    while (fillers.back() >= 0 && fillers.back() < 1024);
    {
        Pair pair;
        EXPECT_EQ(pair.receiver.WaitReadable(1), WaitResult::kTimeout);
        pair.Send(5);
        EXPECT_EQ(pair.receiver.WaitReadable(kPatienceMs), WaitResult::kSignalled);
    }
    for (const int filler : fillers)
        close(filler);
}

} // namespace korvane::platform
