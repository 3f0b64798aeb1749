#include "host/base/process_usage.h"
#include "support/camera_process.h"
#include "support/multicast_network.h"
#include "support/own_descriptors.h"
#include "system/rig.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>

#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

namespace larkmoor::test
{
namespace
{

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kAddressSpaceIsOurs = false; // a sanitizer takes terabytes of it
#else
constexpr bool kAddressSpaceIsOurs = true;
#endif

/// A camera in a process of its own, which no limit of this one touches.
class Camera : public korvane::test::CameraProcess
{
public:
    Camera() : CameraProcess({"--source", "canned"}) {}

    host::Device Device(host::Codec codec, host::Transport transport) const
    {
        return DeviceAt(HttpPort(), RtspPort(), codec, transport);
    }
};

/// A soft limit of this process, for a scope.
class Limit
{
public:
    Limit(__rlimit_resource what, rlim_t value) : what_(what)
    {
        getrlimit(what_, &before_);
        rlimit now = before_;
        now.rlim_cur = value;
        EXPECT_EQ(setrlimit(what_, &now), 0);
    }
    ~Limit() { setrlimit(what_, &before_); }
    Limit(const Limit&) = delete;
    Limit& operator=(const Limit&) = delete;

private:
    const __rlimit_resource what_;
    rlimit before_{};
};

using Hosts = std::vector<std::unique_ptr<TestHost>>;

Hosts OpenHosts(std::size_t count, const host::Device& device)
{
    Hosts hosts;
    for (std::size_t i = 0; i < count; ++i)
        hosts.push_back(std::make_unique<TestHost>(device));
    return hosts;
}

bool StartSmall(TestHost& each)
{
    return each.Start({176, 144}, 500);
}

std::size_t Delivering(const Hosts& hosts)
{
    return static_cast<std::size_t>(
        std::ranges::count_if(hosts, [](const auto& each) { return each->WaitForFrames(2, 0ms); }));
}

/// How long it took until so many deliver; the patience if they don't.
std::chrono::milliseconds AwaitDelivering(const Hosts& hosts, std::size_t count,
                                          std::chrono::milliseconds patience)
{
    const auto begin = Clock::now();
    for (const auto& each : hosts)
    {
        while (Clock::now() - begin < patience && Delivering(hosts) < count)
            each->WaitForFrames(2, 20ms);
    }
    return std::min(patience, std::chrono::ceil<std::chrono::milliseconds>(Clock::now() - begin));
}

/// Starts more streams than the descriptors suffice for, and stops one when all the others have settled.
void RunOutOfDescriptors(host::Codec codec, host::Transport transport, std::size_t count,
                         std::size_t descriptorsPerStream)
{
    Rig::Use(transport);
    const Camera camera;
    Hosts hosts = OpenHosts(count, camera.Device(codec, transport));
    const Limit limit(RLIMIT_NOFILE, 300);
    const std::size_t room = (300 - host::MeasureProcess().descriptors) / descriptorsPerStream;
    ASSERT_LT(room, count);
    for (const auto& each : hosts)
        EXPECT_TRUE(StartSmall(*each));
    AwaitDelivering(hosts, room, 30s);
    const std::size_t delivering = Delivering(hosts);
    EXPECT_GE(delivering + 1, room); // one, for what the process opens besides

    std::vector<std::size_t> frames;
    for (const auto& each : hosts)
        frames.push_back(each->FrameCount());
    const double usedBefore = host::MeasureProcess().processorSeconds;
    const auto began = Clock::now();
    for (std::size_t i = 0; i < count; ++i)
    {
        if (frames[i] >= 2)
            EXPECT_TRUE(hosts[i]->WaitForFrames(frames[i] + 4)) << i;
        else
            EXPECT_TRUE(hosts[i]->WaitForMessage("next attempt in 10 s")) << i;
    }
    const double used = host::MeasureProcess().processorSeconds - usedBefore;
    const double runningS = std::chrono::duration<double>(Clock::now() - began).count();

    const auto running = std::ranges::find_if(hosts, [](auto& each) { return each->WaitForFrames(2, 0ms); });
    (*running)->Stop();
    const std::chrono::milliseconds woken = AwaitDelivering(hosts, delivering + 1, 8s);
    EXPECT_LT(woken, 8s); // sooner than a waiting stream would look by itself

    std::size_t lines = 0;
    for (const auto& each : hosts)
    {
        EXPECT_EQ(each->Counts().signalLostCount, 0u);
        lines += each->CountMessages("No file descriptors left");
    }
    std::printf("%zu of %zu deliver (room for %zu), %.1f %% of a processor, %zu lines, woken after %lld ms\n",
                delivering, count, room, 100 * used / runningS, lines, static_cast<long long>(woken.count()));
    EXPECT_LE(lines, 3 * (count - delivering) + 1);
}

TEST(Shortage, DescriptorsGoToWholeStreams)
{
    SKIP_UNLESS_DESCRIPTORS_ARE_OURS();
    RunOutOfDescriptors(kH264, host::Transport::Udp, 128, 4);
}

TEST(Shortage, DescriptorsGoToWholeConnections)
{
    SKIP_UNLESS_DESCRIPTORS_ARE_OURS();
    RunOutOfDescriptors(kH264, host::Transport::Tcp, 120, 3);
}

TEST(Shortage, DescriptorsGoToWholeResponses)
{
    SKIP_UNLESS_DESCRIPTORS_ARE_OURS();
    RunOutOfDescriptors(kMjpeg, host::Transport::Http, 120, 3);
}

TEST(Shortage, StartsNoChannelWithoutItsThreads)
{
    if (!kAddressSpaceIsOurs)
        GTEST_SKIP() << "limits the address space";
    Rig::Use(host::Transport::Tcp);
    const Camera camera;
    Hosts hosts = OpenHosts(64, camera.Device(kH264, host::Transport::Tcp));
    const Limit limit(RLIMIT_AS, host::MeasureProcess().residentBytes + 800'000'000);
    std::vector<bool> isStarted;
    for (const auto& each : hosts)
        isStarted.push_back(StartSmall(*each));
    const auto started = static_cast<std::size_t>(std::ranges::count(isStarted, true));
    AwaitDelivering(hosts, started, 20s);
    std::printf("%zu of %zu started, %zu deliver\n", started, hosts.size(), Delivering(hosts));
    EXPECT_GT(started, 3u);
    EXPECT_LT(started, hosts.size());
    // Memory runs out with the address space: a line may find none, and a stream that lacks it waits for its
    // turn.
    EXPECT_GE(4 * Delivering(hosts), 3 * started);
    std::size_t lines = 0;
    for (std::size_t i = 0; i < hosts.size(); ++i)
    {
        const std::size_t told = hosts[i]->CountMessages("the channel is not started");
        EXPECT_LE(told, isStarted[i] ? 0u : 1u) << i;
        lines += told;
    }
    EXPECT_GT(lines, 0u);
}

/// Takes every second port that a search tries, so that no pair is free.
std::vector<int> TakeAllPorts()
{
    std::vector<int> taken;
    for (std::uint16_t port = 3556; port < 4556; port = static_cast<std::uint16_t>(port + 2))
    {
        taken.push_back(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        EXPECT_EQ(bind(taken.back(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    }
    return taken;
}

TEST(Shortage, OfPortsIsToldAndCostsNothing)
{
    const Limit limit(RLIMIT_NOFILE, 1024);
    Rig::Use(host::Transport::Udp);
    const bool made = korvane::test::RunInMulticastNetwork(
        []
        {
            const Camera camera;
            std::vector<int> taken = TakeAllPorts();
            TestHost host(camera.Device(kH264, host::Transport::Udp));
            const double before = host::MeasureProcess().processorSeconds;
            ASSERT_TRUE(StartSmall(host));
            EXPECT_TRUE(host.WaitForMessage("No free pair of UDP ports left for a stream"));
            EXPECT_EQ(close(taken.front()), 0);
            taken.erase(taken.begin());
            EXPECT_TRUE(host.WaitForFrames(1, 20s));
            std::printf("%.3f s of processor\n", host::MeasureProcess().processorSeconds - before);
            EXPECT_EQ(host.CountMessages("No free pair"), 1u);
            for (const int each : taken)
                close(each);
        });
    if (!made)
        GTEST_SKIP() << "no network of its own";
}

} // namespace
} // namespace larkmoor::test
