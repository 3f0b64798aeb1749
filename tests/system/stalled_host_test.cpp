#include "host/hostile/hostile_host.h"
#include "support/loopback.h"
#include "system/rig.h"

#include <gtest/gtest.h>

#include <functional>
#include <list>
#include <mutex>
#include <thread>

namespace larkmoor::test
{
namespace
{

using host::Deed;
using host::HostSide;
using host::Operation;
using host::Party;
using host::Transport;
using std::chrono::milliseconds;
using namespace std::chrono_literals;

/// A driver of one device with a host that does what its plan says, and what the driver may still call when
/// it was closed: threads that were given up come back from the host later.
class StalledHost
{
public:
    StalledHost(const host::Device& device, std::vector<Deed> plan)
        : objects_(Keep(std::move(plan))), device_(device)
    {
        HostSide& side = objects_.side;
        for (const Party party : {Party::Driver, Party::Device, Party::Channel, Party::Client, Party::Audio})
            side.Expect(party);
        host::HostileDeviceSettings settings(side, device_);
        EXPECT_TRUE(driver_->Open(&objects_.sink, &objects_.allocator, &settings));
    }
    ~StalledHost() { Rig::Library().deleteIPCaptureEx4(driver_); }
    StalledHost(const StalledHost&) = delete;
    StalledHost& operator=(const StalledHost&) = delete;

    HostSide& Side() { return objects_.side; }

    bool StartVideo()
    {
        host::HostileChannelSettings settings(objects_.side, {320, 240});
        return driver_->GetVideoCaptureEx()->StartChannel(0, &objects_.client, &settings);
    }
    bool StartAudio()
    {
        return driver_->GetAudioCapture()->StartChannel(0, 0, &objects_.client, &objects_.client);
    }
    milliseconds StopVideo()
    {
        return Timed([this] { driver_->GetVideoCaptureEx()->StopChannel(0); }, Party::Client);
    }
    milliseconds StopAudio()
    {
        return Timed([this] { driver_->GetAudioCapture()->StopChannel(0); }, Party::Audio);
    }
    milliseconds Close()
    {
        return Timed([this] { driver_->Close(); }, Party::Driver);
    }

private:
    static host::HostileHost& Keep(std::vector<Deed> plan)
    {
        static std::mutex lock;
        static std::list<host::HostileHost> kept;
        const std::lock_guard guard(lock);
        return kept.emplace_back("", std::move(plan));
    }
    template <class Call>
    milliseconds Timed(Call call, Party ended)
    {
        const auto begin = std::chrono::steady_clock::now();
        call();
        const auto took = std::chrono::steady_clock::now() - begin;
        objects_.side.Forbid(ended);
        return std::chrono::ceil<milliseconds>(took);
    }

    host::HostileHost& objects_;
    const host::Device device_;
    korvane::ipcapture::IIPCaptureDriverEx4* const driver_ = Rig::Library().createIPCaptureEx4();
};

Deed Stall(Operation operation, unsigned first, milliseconds span)
{
    return {operation, first, 1'000'000, span};
}

camera::CameraOptions WithAudio()
{
    camera::CameraOptions options;
    options.profile = "audio";
    return options;
}

host::Device AudioDevice(const TestCamera& camera)
{
    host::Device device = camera.Device(kH264, Transport::Udp);
    device.properties[101] = "Count=1; IsStereo=0";
    return device;
}

struct StallRow
{
    const char* name;
    host::Codec codec;
    Transport transport;
    Deed deed;
    milliseconds most; ///< that the stop may take beyond what a busy machine adds
    bool audio = false;
};

void StopWhileItStalls(const StallRow& row)
{
    SCOPED_TRACE(row.name);
    TestCamera camera(row.audio ? WithAudio() : camera::CameraOptions());
    StalledHost recorder(row.audio ? AudioDevice(camera) : camera.Device(row.codec, row.transport),
                         {row.deed});
    ASSERT_TRUE(row.audio ? recorder.StartAudio() : recorder.StartVideo());
    ASSERT_TRUE(recorder.Side().WaitForStall(kPatience));
    EXPECT_LE(row.audio ? recorder.StopAudio() : recorder.StopVideo(),
              row.most + (korvane::test::kStopBound - 2s));
    recorder.Close();
    while (!recorder.Side().IsLeft())
        std::this_thread::sleep_for(10ms); // the call that is under way ends by itself
    EXPECT_TRUE(recorder.Side().LocksHeld().empty());
    EXPECT_TRUE(recorder.Side().Faults().empty()) << recorder.Side().Faults().front();
}

TEST(StalledHost, IsLeftInTimeWithItsOwnLocksFree)
{
    constexpr auto kUdp = Transport::Udp;
    constexpr auto kTcp = Transport::Tcp;
    constexpr auto kHttp = Transport::Http;
    constexpr auto kPool = Operation::AllocateVideoFrame;
    constexpr auto kPicture = Operation::DeliverFrame;
    const StallRow rows[] = {
        {"the pool stalls, UDP", kH264, kUdp, Stall(kPool, 5, 6s), 4s},
        {"the pool stalls, interleaved", kH264, kTcp, Stall(kPool, 5, 6s), 8s},
        {"the pool stalls, HTTP", kMjpeg, kHttp, Stall(kPool, 5, 6s), 8s},
        {"each picture takes 5 s, UDP", kH264, kUdp, Stall(kPicture, 5, 5s), 4s},
        {"each picture takes 5 s, interleaved", kH264, kTcp, Stall(kPicture, 5, 5s), 7s},
        {"each picture takes 5 s, HTTP", kMjpeg, kHttp, Stall(kPicture, 5, 5s), 7s},
        {"each picture takes 1 s, interleaved", kH264, kTcp, Stall(kPicture, 5, 1s), 3s},
        {"each picture takes 1 s, HTTP", kMjpeg, kHttp, Stall(kPicture, 5, 1s), 3s},
        {"the pool is dry after 5 s, HTTP", kMjpeg, kHttp, {kPool, 5, 1'000'000, 5s, false, true}, 7s},
        {"the disk is gone, UDP", kMpeg4, kUdp, Stall(kPicture, 5, 25s), 4s},
        {"the disk is gone, interleaved", kMpeg4, kTcp, Stall(kPicture, 5, 25s), 22s},
        {"the disk is gone, HTTP", kMjpeg, kHttp, Stall(kPicture, 5, 25s), 22s},
        {"the audio client stalls", kH264, kUdp, Stall(Operation::AudioFrame, 1, 6s), 4s, true},
        {"the audio pool stalls", kH264, kUdp, Stall(Operation::AllocateAudioFrame, 1, 6s), 4s, true},
        // each of the last states does
        {"the audio states stall", kH264, kUdp, Stall(Operation::StateChanged, 2, 3s), 14s, true},
    };
    for (const Transport transport : {kUdp, kTcp})
    {
        Rig::Use(transport);
        std::vector<std::jthread> threads;
        for (const StallRow& row : rows)
        {
            if ((row.transport == kTcp) == (transport == kTcp))
                threads.emplace_back(StopWhileItStalls, std::cref(row));
        }
    }
}

TEST(StalledHost, MayThrowWhereverItIsCalled)
{
    Rig::Use(Transport::Udp);
    TestCamera camera(WithAudio());
    std::vector<Deed> plan;
    for (const Operation operation :
         {Operation::ReleaseFrame, Operation::WriteMessage, Operation::SetFormat, Operation::DeliverFrame,
          Operation::AllocateVideoFrame, Operation::ReleaseAudioFrame, Operation::AudioFrame,
          Operation::AllocateAudioFrame, Operation::StateChanged})
        plan.push_back({operation, 2, 4, 0ms, true});
    StalledHost recorder(AudioDevice(camera), plan);
    ASSERT_TRUE(recorder.StartVideo());
    ASSERT_TRUE(recorder.StartAudio());
    for (const Operation operation : {Operation::DeliverFrame, Operation::AudioFrame})
    {
        while (recorder.Side().Calls(operation) < 7)
            std::this_thread::sleep_for(10ms); // goes on to deliver, or the test runs out of time
    }
    recorder.StopAudio();
    recorder.StopVideo();
    recorder.Close();
    EXPECT_TRUE(recorder.Side().LocksHeld().empty());
}

} // namespace
} // namespace larkmoor::test
