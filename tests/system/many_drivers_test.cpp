#include "host/base/process_usage.h"
#include "system/rig.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <thread>

namespace larkmoor::test
{
namespace
{

constexpr std::size_t kDrivers = 50;

void Print(const char* when, const host::ProcessUsage& usage)
{
    std::printf("%-8s %5llu descriptors %5llu threads\n", when,
                static_cast<unsigned long long>(usage.descriptors),
                static_cast<unsigned long long>(usage.threads));
}

/// Opens, starts, stops, closes and deletes; what the process holds while all deliver.
host::ProcessUsage PlayRound(const TestCamera& camera, host::Codec codec, host::Transport transport)
{
    std::vector<std::unique_ptr<TestHost>> hosts;
    for (std::size_t i = 0; i < kDrivers; ++i)
    {
        hosts.push_back(std::make_unique<TestHost>(camera.Device(codec, transport)));
        EXPECT_TRUE(hosts.back()->Start());
    }
    for (const auto& each : hosts)
        EXPECT_TRUE(each->WaitForFrames(3));
    const host::ProcessUsage during = host::MeasureProcess();
    std::vector<std::thread> stoppers; // as a host that shuts down
    for (const auto& each : hosts)
        stoppers.emplace_back([&each] { each->Stop(); });
    for (std::thread& stopper : stoppers)
        stopper.join();
    for (const auto& each : hosts)
    {
        EXPECT_EQ(each->Close(), "");
        EXPECT_EQ(Compare(each->Frames(), camera).foreign, 0u);
    }
    return during;
}

/// The camera notices only later that its clients have gone.
host::ProcessUsage AwaitQuiet(const host::ProcessUsage& before)
{
    const auto end = std::chrono::steady_clock::now() + kPatience;
    host::ProcessUsage usage = host::MeasureProcess();
    while ((usage.descriptors > before.descriptors || usage.threads > before.threads) &&
           std::chrono::steady_clock::now() < end)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        usage = host::MeasureProcess();
    }
    return usage;
}

TEST(ManyDrivers, GiveBackWhatTheyTook)
{
    const struct
    {
        host::Codec codec;
        host::Transport transport;
    } cases[] = {{host::Codec::Mjpeg, host::Transport::Http},
                 {host::Codec::H264, host::Transport::Udp},
                 {host::Codec::H264, host::Transport::Tcp}};
    for (const auto& c : cases)
    {
        SCOPED_TRACE(static_cast<int>(c.transport));
        Rig::Use(c.transport);
        camera::CameraOptions options;
        options.source = camera::VideoSource::Canned;
        options.truthUnits = c.codec == host::Codec::Mjpeg ? "" : Rig::NewFile("units.jsonl");
        TestCamera camera(options);
        const host::ProcessUsage empty = host::MeasureProcess();
        PlayRound(camera, c.codec, c.transport); // what is made once for all is made here
        const host::ProcessUsage before = AwaitQuiet(empty);
        Print("before", before);
        Print("during", PlayRound(camera, c.codec, c.transport));
        const host::ProcessUsage after = AwaitQuiet(before);
        Print("after", after);
        EXPECT_EQ(after.descriptors, before.descriptors);
        EXPECT_EQ(after.threads, before.threads);
    }
}

} // namespace
} // namespace larkmoor::test
