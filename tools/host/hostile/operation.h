#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace larkmoor::host
{

/// What a host calls of the driver.
enum class Promise : std::uint8_t
{
    Open,
    Start,
    Stop,
    StopAudio,
    StopIo,
    Head,
    Order,
    Close,
    DeleteQuery,
};

struct PromiseTraits
{
    const char* name;
    std::chrono::milliseconds own;  ///< how long it takes at most with a host that answers
    std::chrono::milliseconds most; ///< and with one that does not; 0: as long as the host stalls
};

/// How long the driver may take, by its promises (docs/host-guide.md). A call may take its own time and that
/// for which the host itself held the driver up meanwhile, but no longer than the most.
inline constexpr std::array kPromises = {
    PromiseTraits{"Open", std::chrono::seconds(1), {}},
    PromiseTraits{"StartChannel", std::chrono::seconds(2), {}}, // the channel that runs is stopped first
    PromiseTraits{"StopChannel", std::chrono::seconds(2), std::chrono::seconds(22)},
    PromiseTraits{"StopChannel of audio", std::chrono::seconds(2), {}},
    PromiseTraits{"StopIO", std::chrono::seconds(2), {}},
    PromiseTraits{"GetPTZControl", std::chrono::seconds(10), {}}, // reads the presets on this thread
    PromiseTraits{"an order that is queued", std::chrono::seconds(1), {}},
    PromiseTraits{"Close", std::chrono::seconds(6), {}}, // of it 4 s for the head
    PromiseTraits{"DeleteCapabilityQueryModule", std::chrono::seconds(2),
                  std::chrono::seconds(30)}, // 20 s, and OnQueryKilled on the thread that deletes
};

constexpr const PromiseTraits& TraitsOf(Promise promise)
{
    return kPromises[static_cast<std::size_t>(promise)];
}

/// How long the calls of one kind took.
struct PromiseCounts
{
    std::uint64_t calls = 0;
    double longest = 0;    ///< seconds, stalls of the host included
    double longestOwn = 0; ///< without them
};

/// What the driver calls of a host: one for each kind of call, however many operations that is.
enum class Operation : std::uint8_t
{
    WriteMessage,
    AllocateVideoFrame,
    AllocateAudioFrame,
    ReleaseFrame,
    ReleaseAudioFrame,
    SetData,
    GetData,
    SetDataSize,
    SetTime,
    SetFormat,
    DescribeFrame, ///< size, size class, bit rate and all else that a frame is told
    DeliverFrame,
    SignalLost,
    AudioFrame,
    StateChanged,
    CodecList,
    InputChanged,
    ConnectionLost,
    DeviceSettings,
    ChannelSettings,
    CapabilityStore,
    QueryEnd,
};

/// Who gets the last call of an operation at the same moment.
enum class Party : std::uint8_t
{
    Device,  ///< during `Open`
    Channel, ///< during `StartChannel` and `ChangeChannel`
    Client,  ///< until `StopChannel` returns
    Audio,   ///< until `StopChannel` of audio returns
    Io,      ///< until `StopIO` returns
    Driver,  ///< sink and allocator: until `Close` returns
    Query,   ///< until the module is deleted
};

/// What of the host an operation needs alone: a call that stalls holds up the others that need the same.
enum class Resource : std::uint8_t
{
    Log,
    Pool,
    Disk,
    Settings,
};

struct OperationTraits
{
    Operation operation;
    const char* name;
    Party party;
    Resource resource;
    bool mayRefuse; ///< it gives a result, and one that means no
};

inline constexpr std::array kOperations = {
    OperationTraits{Operation::WriteMessage, "WriteMessage", Party::Driver, Resource::Log, false},
    OperationTraits{Operation::AllocateVideoFrame, "AllocateVideoFrame", Party::Driver, Resource::Pool, true},
    OperationTraits{Operation::AllocateAudioFrame, "AllocateAudioFrame", Party::Driver, Resource::Pool, true},
    OperationTraits{Operation::ReleaseFrame, "ReleaseFrame", Party::Driver, Resource::Pool, false},
    OperationTraits{Operation::ReleaseAudioFrame, "ReleaseAudioFrame", Party::Driver, Resource::Pool, false},
    OperationTraits{Operation::SetData, "SetData", Party::Driver, Resource::Pool, false},
    OperationTraits{Operation::GetData, "GetData", Party::Driver, Resource::Pool, true},
    OperationTraits{Operation::SetDataSize, "SetDataSize", Party::Driver, Resource::Pool, false},
    OperationTraits{Operation::SetTime, "SetTime", Party::Driver, Resource::Pool, false},
    OperationTraits{Operation::SetFormat, "SetFormat", Party::Driver, Resource::Pool, false},
    OperationTraits{Operation::DescribeFrame, "DescribeFrame", Party::Driver, Resource::Pool, false},
    OperationTraits{Operation::DeliverFrame, "DeliverFrame", Party::Client, Resource::Disk, true},
    OperationTraits{Operation::SignalLost, "SignalLost", Party::Client, Resource::Disk, false},
    OperationTraits{Operation::AudioFrame, "AudioFrame", Party::Audio, Resource::Disk, true},
    OperationTraits{Operation::StateChanged, "StateChanged", Party::Audio, Resource::Disk, false},
    OperationTraits{Operation::CodecList, "CodecList", Party::Audio, Resource::Settings, true},
    OperationTraits{Operation::InputChanged, "InputChanged", Party::Io, Resource::Disk, false},
    OperationTraits{Operation::ConnectionLost, "ConnectionLost", Party::Io, Resource::Disk, false},
    OperationTraits{Operation::DeviceSettings, "DeviceSettings", Party::Device, Resource::Settings, true},
    OperationTraits{Operation::ChannelSettings, "ChannelSettings", Party::Channel, Resource::Settings, true},
    OperationTraits{Operation::CapabilityStore, "CapabilityStore", Party::Query, Resource::Settings, true},
    OperationTraits{Operation::QueryEnd, "QueryEnd", Party::Query, Resource::Settings, false},
};

inline constexpr std::size_t kParties = 7;
inline constexpr std::size_t kResources = 4;

constexpr const OperationTraits& TraitsOf(Operation operation)
{
    return kOperations[static_cast<std::size_t>(operation)];
}

/// One thing that a host does to the driver.
struct Deed
{
    Operation operation = Operation::WriteMessage;
    unsigned first = 1; ///< the call that it begins with, counted from 1
    unsigned last = 1;  ///< and the one that it ends with
    std::chrono::milliseconds stall{0};
    bool throws = false;  ///< after the stall
    bool refuses = false; ///< after the stall; null, false or nothing, as the operation has it
};

/// All chances of one start and stop, which its number and the seed give alone.
using Dice = std::mt19937_64;

/// Evenly from `least` to `most`.
unsigned Throw(Dice& dice, unsigned least, unsigned most);

/// Two to six deeds, none of which stalls for longer than `longest`, against a driver or against a query.
std::vector<Deed> MakePlan(Dice& dice, bool isQuery, std::chrono::milliseconds longest);

} // namespace larkmoor::host
