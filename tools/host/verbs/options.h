#pragma once

#include "host/base/failure.h"
#include "host/base/text.h"
#include "host/device/device.h"
#include "host/device/private_folder.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace larkmoor::host
{

/// What every verb takes.
struct CommonOptions
{
    std::filesystem::path library;  ///< empty: as `DriverLibrary` finds it
    Device device;                  ///< complete: the file, what overrides it, and the properties
    std::filesystem::path json;     ///< empty: no report
    std::filesystem::path settings; ///< the driver's settings file to copy; empty: one is written
    std::string hostVersion;        ///< of the host's core library; empty: unknown to the driver
    bool quiet = false;
};

/// What a stream is asked to be.
struct StreamOptions
{
    Transport transport = Transport::Udp;
    PictureSize size{640, 480};
    double rate = 25; ///< frames a second; 0 asks for none
    std::uint16_t quality = 60;
    std::optional<std::uint32_t> bitRate; ///< bits a second
    std::string audioCodec;               ///< that the settings file names; empty: none
};

/// How long a verb works.
struct TimeOptions
{
    std::optional<std::chrono::milliseconds> seconds; ///< from the first frame; none: until interrupted
    std::chrono::milliseconds patience{30000};        ///< to wait for the first frame
};

struct QueryOptions
{
    CommonOptions common;
    bool ntsc = false; ///< the host's video standard, for devices that don't tell theirs; else PAL
    bool raw = false;  ///< print every number and parameter too
    std::filesystem::path save;
};

struct RecordOptions
{
    struct PictureAt
    {
        std::chrono::milliseconds at{};
        std::filesystem::path file;
    };

    CommonOptions common;
    StreamOptions stream;
    TimeOptions time;
    std::uint32_t channel = 0;
    bool audio = false; ///< the sound of the same channel goes into `out` too
    std::filesystem::path out;
    std::filesystem::path raw;
    std::filesystem::path frames;
    std::filesystem::path picture;
    std::vector<PictureAt> picturesAt;
    std::vector<Change> changes;
};

struct WatchOptions
{
    CommonOptions common;
    StreamOptions stream;
    TimeOptions time;
    std::vector<std::uint32_t> channels; ///< at least one
};

struct AudioOptions
{
    CommonOptions common;
    StreamOptions stream; ///< of it the transport and the audio codec
    TimeOptions time;
    std::uint32_t channel = 0;
    std::uint32_t videoChannel = 0;
    std::vector<std::uint32_t> formats; ///< codes that the host takes; empty: all
    std::filesystem::path out;
    std::filesystem::path raw;
    std::filesystem::path frames;
};

struct LoadOptions
{
    CommonOptions common;
    StreamOptions stream;
    TimeOptions time;
    std::uint32_t drivers = 1;
    std::uint32_t channels = 1;           ///< streams of each driver
    std::chrono::milliseconds ramp{2000}; ///< over which the streams are started
    std::uint32_t rounds = 1;             ///< how often all is opened and closed
};

struct HostileOptions
{
    struct Stream
    {
        Codec codec = Codec::H264;
        Transport transport = Transport::Udp;
        std::uint16_t port = 80;
        std::uint16_t rtspPort = 554;
    };

    std::filesystem::path library; ///< empty: as `DriverLibrary` finds it
    std::filesystem::path json;    ///< empty: no report
    std::vector<Stream> streams;   ///< at least one; multicast for all or for none
    std::uint32_t cycles = 2000;
    std::uint32_t atOnce = 32;
    std::uint64_t seed = 1;
    std::chrono::milliseconds longestStall{8000};
    std::chrono::milliseconds longestUse{40'000}; ///< of a driver, now and then
};

/// One word of a `ptz` command line.
struct PtzAction
{
    std::string name; ///< "left", "zoom-in", "stop", "centre", "wait" and so on
    std::uint32_t x = 0;
    std::uint32_t y = 0;                            ///< with x: the place of the picture for "centre"
    std::optional<std::chrono::milliseconds> lasts; ///< then what it started is stopped
};

struct PtzOptions
{
    CommonOptions common;
    std::vector<PtzAction> actions;         ///< none: by the keyboard
    std::uint32_t speed = 8;                ///< 1 to 16
    std::chrono::milliseconds settle{2000}; ///< before the driver is closed, which drops commands that wait
};

struct PresetOptions
{
    enum class What
    {
        List,
        Add,
        Go,
        Delete,
    };

    CommonOptions common;
    What what = What::List;
    std::string name;
    std::uint32_t speed = 8; ///< 1 to 16
};

struct IoOptions
{
    struct Switch
    {
        std::chrono::milliseconds at{};
        std::uint32_t output = 0;
        bool on = false;
    };

    CommonOptions common;
    std::vector<Switch> switches;                     ///< by time
    std::optional<std::chrono::milliseconds> seconds; ///< none: until interrupted
};

// Each verb works on the main thread, and throws `Failure` for what keeps it from beginning.

/// Asks a device what it is, prints that, and saves a device file if one is wanted. The status tells why it
/// came to nothing.
ExitStatus Run(const PrivateFolder& folder, const QueryOptions& options);

/// Records one channel until its time is over or somebody interrupts, prints what came of it, and says
/// whether it did what was asked.
ExitStatus Run(const PrivateFolder& folder, const RecordOptions& options);

/// Shows the channels of a device live in a table, drawn over in place on a terminal, until the time is over
/// or somebody interrupts. `NoFrames` if a channel delivered nothing.
ExitStatus Run(const PrivateFolder& folder, const WatchOptions& options);

/// Records the sound of one channel, and shows how loud it is.
ExitStatus Run(const PrivateFolder& folder, const AudioOptions& options);

/// Runs many streams at once and prints what they delivered, lost and cost. `NoFrames` if one of them
/// delivered nothing.
ExitStatus Run(const PrivateFolder& folder, const LoadOptions& options);

/// Moves the head of a device: by its actions, or by the keyboard. `Refused` if the driver did not take a
/// command.
ExitStatus Run(const PrivateFolder& folder, const PtzOptions& options);

/// Lists, keeps, goes to or forgets presets of a device's head. `Refused` if that failed.
ExitStatus Run(const PrivateFolder& folder, const PresetOptions& options);

/// Prints the inputs of a device as they change, a line each on standard output, and switches outputs.
/// `Refused` if an output was to be switched and the driver lost the device, or took no output.
ExitStatus Run(const PrivateFolder& folder, const IoOptions& options);

/// Starts and stops drivers as a host that stalls, throws, refuses and gives null, and prints what came of
/// it. `Contract` if the driver broke a promise, `NoFrames` if no picture came at all.
ExitStatus Run(const PrivateFolder& folder, const HostileOptions& options);

bool IsPtzAction(const std::string& name);
std::string PtzActionNames(); ///< of those that move, for `--help`

} // namespace larkmoor::host
