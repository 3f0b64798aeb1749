#pragma once

#include "camera/simulated_camera.h"
#include "host/base/text.h"
#include "host/contract/driver_library.h"
#include "host/contract/fault_list.h"
#include "host/contract/frame_allocator.h"
#include "host/contract/stream_client.h"
#include "host/device/device.h"
#include "host/device/private_folder.h"
#include "support/fake_host.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

/// The whole system in one process: the library as a host loads it, and simulated cameras on free ports.
namespace larkmoor::test
{

/// How long a test waits for what must come. The driver's own time-outs are 10 s, and a machine may be slow.
constexpr std::chrono::seconds kPatience(60);

inline constexpr auto kMjpeg = host::Codec::Mjpeg;
inline constexpr auto kMpeg4 = host::Codec::Mpeg4;
inline constexpr auto kH264 = host::Codec::H264;

/// What all tests of the program share.
class Rig
{
public:
    static void Begin(const host::PrivateFolder& folder);
    static const host::DriverLibrary& Library();

    /// Makes the driver use `transport` for the streams that are started from now on.
    /// `defaults` are further settings of all devices.
    static void Use(host::Transport transport, const std::string& defaults = "");

    /// A path in the program's own folder, another one for each call.
    static std::string NewFile(const std::string& name);

private:
    static const host::PrivateFolder* folder_;
    static std::atomic<int> files_;
};

/// A device at these ports with what the driver needs to know of it.
host::Device DeviceAt(std::uint16_t httpPort, std::uint16_t rtspPort, host::Codec codec,
                      host::Transport transport);

/// An access unit as it was sent: the fingerprints of its NAL units, and which of them went out whole.
struct SentUnits
{
    std::vector<std::string> md5s;
    std::vector<bool> whole;
};

/// A camera that serves, and what it says to have sent.
class TestCamera
{
public:
    /// Throws if it can't serve.
    explicit TestCamera(camera::CameraOptions options);

    void Play(const std::string& faults); ///< "name=value,name", from now on
    void End(const std::string& faults);  ///< the same names

    bool HasSent(const std::string& md5) const; ///< as a whole frame, by its truth

    std::size_t CountRequests(const std::string& part) const; ///< that hold it, of HTTP and RTSP

    /// The access units sent so far, of H.264.
    std::vector<SentUnits> Units() const;

    host::Device Device(host::Codec codec, host::Transport transport) const;

private:
    const camera::CameraOptions options_;
    mutable std::mutex lock_; // over the next two
    std::set<std::string> sent_;
    std::vector<std::string> requests_;
    camera::SimulatedCamera camera_;
};

/// What a host remembers of a frame.
struct SeenFrame
{
    std::string md5;
    std::vector<std::string> units; ///< H.264: of the NAL units, but for the delimiter at the end
    std::uint32_t format = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

/// A host with one opened driver and one channel of it. The host's side is that of the bench host, which
/// checks the driver's use of frames.
class TestHost final : private host::IFrameReceiver, private korvane::test::HostObject
{
public:
    explicit TestHost(host::Device device);
    ~TestHost() override; ///< closes
    TestHost(const TestHost&) = delete;
    TestHost& operator=(const TestHost&) = delete;

    bool Start(host::PictureSize size = {320, 240}, std::uint16_t frameIntervalMs = 66);
    bool Change(host::PictureSize size, std::uint32_t frameIntervalMs); ///< of the running channel
    std::uint32_t State(); ///< 0 running, 2 connecting, 3 stopped

    std::size_t FrameCount() const;
    std::vector<SeenFrame> Frames() const;

    /// Until so many frames have come, counted from the start. False if they don't.
    bool WaitForFrames(std::size_t count, std::chrono::milliseconds patience = kPatience) const;

    /// Until the channel is in that state; the driver tells it only when asked.
    bool WaitForState(std::uint32_t state, std::chrono::milliseconds patience = kPatience);

    std::chrono::milliseconds Stop(); ///< how long it took

    /// Closes the driver and deletes it. What the driver has done against its contract, "" if nothing.
    std::string Close();

    bool WaitForMessage(const std::string& part) const { return sink_.WaitForMessage(part); }
    std::size_t CountMessages(const std::string& part) const;
    host::StreamCounts Counts() const { return client_.Counts(); }

private:
    bool TakeFrame(host::FrameHold frame) override;

    host::Device device_;
    host::FaultList faults_;
    host::FrameAllocator allocator_{faults_};
    host::StreamClient client_{allocator_, faults_, this, nullptr};
    korvane::test::FakeSink sink_;
    mutable std::mutex lock_; // over the frames
    mutable std::condition_variable changed_;
    std::vector<SeenFrame> frames_;
    korvane::ipcapture::IIPCaptureDriverEx4* driver_ = nullptr;
    korvane::ipcapture::IIPVideoCaptureEx* video_ = nullptr;
};

/// What became of the frames that a host saw, measured by what the camera sent.
struct Comparison
{
    std::size_t frames = 0;
    std::size_t exact = 0; ///< byte for byte in the camera's truth
    std::size_t whole = 0; ///< all units of one access unit, though the camera took it for damaged
    std::size_t part =
        0; ///< units that were sent whole, of one access unit and in order, but not all of them
    std::size_t foreign = 0; ///< anything else

    Comparison& operator+=(const Comparison& other);
};

Comparison Compare(const std::vector<SeenFrame>& frames, const TestCamera& camera);

} // namespace larkmoor::test
