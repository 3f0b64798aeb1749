#include "platform/socket.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include "support/loopback.h"

namespace korvane::platform
{

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
        ASSERT_TRUE(socket->OpenDatagram() && socket->SetReuseAddress());
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
        Socket receiver;
        ASSERT_TRUE(receiver.OpenDatagram() && receiver.Bind(0));
        std::uint8_t byte = 0;
        receiver.SetReceiveTimeout(1);
        EXPECT_EQ(receiver.Receive({&byte, 1}).status, ReceiveResult::Status::kTimeout);
        test::UDPPeer(receiver.LocalPort()).Send({1});
        receiver.SetReceiveTimeout(test::kPatienceMs);
        EXPECT_EQ(receiver.Receive({&byte, 1}).status, ReceiveResult::Status::kReceived);
    }
    for (const int filler : fillers)
        close(filler);
}

} // namespace korvane::platform
