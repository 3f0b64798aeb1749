#include "platform/socket.h"

#include <arpa/inet.h>
#include <array>
#include <atomic>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "platform/thread.h"
#include "support/multicast_network.h"
#include "support/thread_watch.h"

namespace korvane::platform
{

namespace
{

using Bytes = std::vector<std::uint8_t>;
using Status = ReceiveResult::Status;

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

// A listening TCP socket of the system, and the end of one connection to it.
class Server
{
public:
    Server() : listener_(socket(AF_INET, SOCK_STREAM, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = kLoopback;
        socklen_t size = sizeof(address);
        EXPECT_EQ(bind(listener_, reinterpret_cast<sockaddr*>(&address), size), 0);
        EXPECT_EQ(listen(listener_, 1), 0);
        EXPECT_EQ(getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size), 0);
        port_ = ntohs(address.sin_port);
    }
    ~Server()
    {
        Hang();
        close(listener_);
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    void Connect(Socket& client)
    {
        ASSERT_TRUE(client.OpenStream());
        const auto begun = client.BeginConnect(MakeSocketAddress(kLoopback, port_));
        ASSERT_TRUE(begun == Socket::ConnectResult::kConnected ||
                    client.WaitConnected(kPatienceMs) == WaitResult::kSignalled);
        peer_ = accept(listener_, nullptr, nullptr);
        ASSERT_GE(peer_, 0);
    }

    void Hang()
    {
        if (peer_ >= 0)
            close(peer_);
        peer_ = -1;
    }

    int Peer() const { return peer_; }
    std::uint16_t Port() const { return port_; }

private:
    int listener_;
    int peer_ = -1;
    std::uint16_t port_ = 0;
};

// Runs `call` on a thread, waits until it sleeps there, and shuts the socket down.
template <class Call>
void ShutdownDuring(Socket& socket, Call call)
{
    std::atomic<std::uint32_t> id{0};
    std::thread thread(
        [&]
        {
            id = Thread::CurrentId();
            id.notify_one();
            call();
        });
    id.wait(0);
    EXPECT_TRUE(test::WaitUntilAsleep(id));
    socket.Shutdown();
    thread.join();
}

} // namespace

TEST(Socket, ReadsAddressesAsText)
{
    const auto address = ParseIPv4("239.1.2.3");
    ASSERT_TRUE(address);
    EXPECT_EQ(ntohl(*address), 0xEF010203u);
    for (const char* text : {"", "localhost", "1.2.3", "1.2.3.256", "1.2.3.4 ", "::1"})
        EXPECT_FALSE(ParseIPv4(text)) << text;
}

TEST(Socket, TellsADatagramThatIsLargerThanTheBuffer)
{
    Pair pair;
    Bytes buffer(100);
    SocketAddress sender;
    const struct
    {
        std::size_t sent;
        Status status;
        std::size_t length;
    } cases[] = {{99, Status::kReceived, 99},    {100, Status::kReceived, 100},
                 {101, Status::kTruncated, 100}, {60000, Status::kTruncated, 100},
                 {0, Status::kReceived, 0},      {1, Status::kReceived, 1}};
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.sent);
        pair.Send(c.sent);
        const ReceiveResult result = pair.receiver.ReceiveFrom(buffer, sender);
        EXPECT_EQ(result.status, c.status);
        EXPECT_EQ(result.length, c.length);
        EXPECT_EQ(sender, MakeSocketAddress(kLoopback, pair.sender.LocalPort()));
    }
    pair.receiver.SetReceiveTimeout(1);
    EXPECT_EQ(pair.receiver.ReceiveFrom(buffer, sender).status, Status::kTimeout);
}

TEST(Socket, TakesWhatHasArrivedInOneCall)
{
    Pair pair;
    const std::size_t lengths[] = {10, 0, 20, 21, 30};
    std::array<Bytes, 6> memory;
    std::array<Datagram, 6> datagrams;
    for (std::size_t i = 0; i < memory.size(); ++i)
    {
        memory[i].resize(30);
        datagrams[i].buffer = std::span(memory[i]).first(15);
        datagrams[i].overflow = std::span(memory[i]).subspan(15, 5);
    }
    EXPECT_EQ(pair.receiver.ReceiveMany(datagrams, 1).result, WaitResult::kTimeout);

    for (const std::size_t length : lengths)
        pair.Send(length, static_cast<std::uint8_t>(length));
    ASSERT_EQ(pair.receiver.ReceiveMany(std::span(datagrams).first(3), kInfinite).count, 3u);
    EXPECT_EQ(datagrams[0].length, 10u);
    EXPECT_EQ(datagrams[0].sender, MakeSocketAddress(kLoopback, pair.sender.LocalPort()));
    EXPECT_EQ(datagrams[1].length, 0u);
    EXPECT_EQ(datagrams[2].length, 20u);
    EXPECT_FALSE(datagrams[2].truncated);
    EXPECT_EQ(memory[2][19], 20) << "behind the buffer comes the overflow";
    ASSERT_EQ(pair.receiver.ReceiveMany(datagrams, 0).count, 2u);
    EXPECT_TRUE(datagrams[0].truncated);
    EXPECT_EQ(datagrams[0].length, 20u);
    EXPECT_TRUE(datagrams[1].truncated);
}

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

TEST(Socket, HoldsTheBurstOfAKeyFrame)
{
    constexpr int kPackets = 250 * 1024 / 1400;
    Pair pair;
    ASSERT_TRUE(pair.receiver.SetReceiveBuffer(65535));
    for (int i = 0; i < kPackets; ++i)
        pair.Send(1400);
    EXPECT_EQ(pair.receiver.DroppedDatagrams(), 0u);

    // A reader that is away for longer loses some, and the system says how many.
    constexpr int kFlood = 5000;
    for (int i = 0; i < kFlood; ++i)
        pair.Send(1400);
    std::uint32_t read = 0;
    Bytes buffer(1500);
    SocketAddress sender;
    pair.receiver.SetReceiveTimeout(1);
    while (pair.receiver.ReceiveFrom(buffer, sender).status == Status::kReceived)
        ++read;
    EXPECT_GE(read, static_cast<std::uint32_t>(kPackets));
    EXPECT_LT(read, static_cast<std::uint32_t>(kPackets + kFlood));
    EXPECT_EQ(pair.receiver.DroppedDatagrams(), kPackets + kFlood - read);
}

TEST(Socket, AShutdownFromAnotherThreadWakesTheReader)
{
    Bytes buffer(100);
    SocketAddress sender;
    {
        Pair pair;
        pair.receiver.SetReceiveTimeout(0);
        ShutdownDuring(pair.receiver,
                       [&] { EXPECT_EQ(pair.receiver.ReceiveFrom(buffer, sender).status, Status::kClosed); });
    }
    {
        Pair pair;
        ShutdownDuring(pair.receiver,
                       [&]
                       {
                           Datagram datagram{.sender = {}, .buffer = buffer, .overflow = {}};
                           EXPECT_EQ(pair.receiver.ReceiveMany({&datagram, 1}, kInfinite).count, 0u);
                           EXPECT_EQ(pair.receiver.WaitReadable(kInfinite), WaitResult::kSignalled);
                       });
    }
    {
        Server server;
        Socket client;
        server.Connect(client);
        ShutdownDuring(client, [&] { EXPECT_EQ(client.Receive(buffer).status, Status::kClosed); });
    }
}

TEST(Socket, ConnectsSendsAndReceives)
{
    Server server;
    Socket client;
    server.Connect(client);
    ASSERT_TRUE(client.SetReceiveTimeout(1) && client.SetSendTimeout(50) && client.SetReceiveBuffer(65536));

    Bytes buffer(6);
    EXPECT_EQ(client.Receive(buffer).status, Status::kTimeout);
    client.SetReceiveTimeout(kPatienceMs);
    ASSERT_EQ(write(server.Peer(), "0123456789", 10), 10);
    for (const std::size_t expected : {6u, 4u})
    {
        const ReceiveResult result = client.Receive(buffer);
        EXPECT_EQ(result.status, Status::kReceived);
        EXPECT_EQ(result.length, expected);
    }
    // Nobody reads there: what goes is what the system takes until the time-out.
    const Bytes much(64 * 1024 * 1024);
    const std::size_t sent = client.Send(much);
    EXPECT_GT(sent, 0u);
    EXPECT_LT(sent, much.size());

    shutdown(server.Peer(), SHUT_WR);
    EXPECT_EQ(client.Receive(buffer).status, Status::kClosed);
    server.Hang(); // with bytes unread: a reset
    client.Receive(buffer);
    EXPECT_EQ(client.Send(Bytes(10)), 0u) << "and no signal";
}

TEST(Socket, TellsThatNobodyListens)
{
    std::uint16_t port = 0;
    {
        Server server;
        port = server.Port();
    }
    Socket client;
    ASSERT_TRUE(client.OpenStream());
    const auto begun = client.BeginConnect(MakeSocketAddress(kLoopback, port));
    EXPECT_TRUE(begun == Socket::ConnectResult::kFailed ||
                client.WaitConnected(kPatienceMs) == WaitResult::kFailed);
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

TEST(Socket, GetsTheGroupsThatItJoinedAndNoOthers)
{
    const bool ran = test::RunInMulticastNetwork(
        []
        {
            const std::uint32_t groups[] = {*ParseIPv4("239.1.2.3"), *ParseIPv4("239.1.2.4")};
            std::array<Socket, 2> receivers;
            Socket sender;
            ASSERT_TRUE(sender.OpenDatagram());
            std::uint16_t port = 0;
            for (std::size_t i = 0; i < 2; ++i)
            {
                ASSERT_TRUE(receivers[i].OpenDatagram() && receivers[i].SetReuseAddress(true));
                ASSERT_TRUE(receivers[i].Bind(port) && receivers[i].JoinGroup(groups[i]));
                port = receivers[i].LocalPort();
            }
            for (std::uint8_t i = 0; i < 2; ++i)
                EXPECT_EQ(sender.SendTo(MakeSocketAddress(groups[i], port), Bytes(10, i)), 10);
            for (std::uint8_t i = 0; i < 2; ++i)
            {
                Bytes buffer(20);
                EXPECT_EQ(receivers[i].SetReceiveTimeout(kPatienceMs), true);
                EXPECT_EQ(receivers[i].Receive(buffer).length, 10u);
                EXPECT_EQ(buffer[0], i);
                EXPECT_EQ(receivers[i].WaitReadable(0), WaitResult::kTimeout) << "the other's group";
                EXPECT_TRUE(receivers[i].LeaveGroup(groups[i]));
                EXPECT_FALSE(receivers[i].LeaveGroup(groups[i]));
            }
            EXPECT_FALSE(receivers[0].JoinGroup(kLoopback)) << "no group";
        });
    if (!ran)
        GTEST_SKIP() << "this user can't make a network of its own";
}

TEST(Socket, CountsTheUsersOfTheLibrary)
{
    const int before = SocketLibraryUsers();
    EXPECT_TRUE(StartSocketLibrary());
    EXPECT_EQ(SocketLibraryUsers(), before + 1);
    StopSocketLibrary();
    EXPECT_EQ(SocketLibraryUsers(), before);
}

} // namespace korvane::platform
