#pragma once

#include "host/base/console.h"
#include "host/base/failure.h"
#include "host/base/interrupt.h"
#include "host/base/stopwatch.h"
#include "host/contract/audio_client.h"
#include "host/contract/driver_library.h"
#include "host/contract/fault_list.h"
#include "host/contract/frame_allocator.h"
#include "host/contract/sink.h"
#include "host/device/private_folder.h"
#include "host/verbs/options.h"

#include <nlohmann/json.hpp>

#include <memory>
#include <optional>
#include <string>

namespace larkmoor::host
{

using namespace korvane::ipcapture;

/// What every verb works with: the loaded driver and the host's side of it, with the driver's settings in
/// place.
struct Bench
{
    /// Writes the settings file, says where it stands, and loads the library. Throws `Failure`.
    Bench(const PrivateFolder& folder, const CommonOptions& options, const StreamOptions& stream);

    Console console;
    FaultList faults;
    FrameAllocator allocator{faults};
    Sink sink;
    DriverLibrary library;
};

/// One opened driver. Host's thread.
class OpenDriver
{
public:
    /// Makes and opens a driver. Throws `Failure` (NoDriver). All outlive this object.
    OpenDriver(Bench& bench, const Device& device);

    /// Closes and deletes it.
    ~OpenDriver();

    OpenDriver(const OpenDriver&) = delete;
    OpenDriver& operator=(const OpenDriver&) = delete;

    IIPVideoCaptureEx& Video() { return *video_; }
    IIPCaptureDriverEx4& Driver() { return *driver_; }

    /// The control of the device's head. Throws `Failure` (NoDriver) if the driver gives none.
    IIPPTZApi& Head();

    /// Starts a channel. Throws `Failure` (NoDriver) if the driver refuses.
    void Start(std::uint32_t channel, IHostChannelClient& client, const StreamOptions& stream);

    /// Starts an audio channel. Throws `Failure` (NoDriver) if the device has no sound or the driver
    /// refuses.
    void StartAudio(std::uint32_t channel, std::uint32_t videoChannel, AudioClient& client);

    /// Stops it; nothing if it does not run.
    void StopAudio(std::uint32_t channel);

    /// 0 running, 2 connecting, 3 stopped or nothing there.
    std::uint32_t State(std::uint32_t channel);

private:
    Bench& bench_;
    IIPCaptureDriverEx4* driver_;
    IIPVideoCaptureEx* video_ = nullptr;
};

/// Calls `look` with the moment, of `MonotonicSeconds`, every so often, until it says that it has seen enough
/// or somebody interrupts.
template <typename Look>
void Follow(std::chrono::milliseconds every, const Look& look)
{
    while (look(MonotonicSeconds()) && !Interrupt::WaitFor(every))
    {
    }
}

/// Whether the time of a verb that began at `start` is over; `firstFrame` is 0 before it.
bool IsOver(const TimeOptions& time, double now, double start, double firstFrame);

/// Lets something happen once in so many seconds. One thread.
class Pace
{
public:
    bool IsDue(double now, double seconds);

private:
    double next_ = 0;
};

/// "running", "connecting", "stopped", or the number.
std::string StateName(std::uint32_t state);

/// "h264 over udp" and so on.
std::string StreamName(Codec codec, Transport transport);

/// The beginning of a report: the verb and the device, and its stream but for sound.
nlohmann::ordered_json ReportHead(const char* verb, const CommonOptions& common, const StreamOptions* stream);

/// What the log, the allocator and the faults hold, as part of a report.
nlohmann::ordered_json HostSideReport(const Bench& bench);

/// Says what the driver did against its contract. `Contract` if there was anything, else `Done`. After
/// `Close`.
ExitStatus JudgeContract(Bench& bench);

/// How a run of orders ended: as `status` says, unless the driver broke its contract. Once the driver is
/// closed.
ExitStatus JudgeOrders(Bench& bench, ExitStatus status);

/// How a verb ended that keeps what it gets.
struct RecordingEnd
{
    const char* media = "frame"; ///< for the console, in the singular
    std::uint64_t taken = 0;     ///< frames
    std::uint64_t refused = 0;   ///< frames that the host had no room for
    std::optional<std::string> writeFailure;
};

/// Says why a recording has failed, if it has, and what status that is. After `Close`.
ExitStatus JudgeRecording(Bench& bench, const TimeOptions& time, const RecordingEnd& end);

/// The end of a recording's report: `HostSideReport`, what could not be written, and the status.
nlohmann::ordered_json RecordingReport(const Bench& bench, const RecordingEnd& end, ExitStatus status);

/// Writes a report; does nothing without a file. Throws `Failure` (Output).
void WriteReport(const std::filesystem::path& file, const nlohmann::ordered_json& report);

} // namespace larkmoor::host
