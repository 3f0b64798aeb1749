#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>

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
    PromiseTraits{"DeleteCapabilityQueryModule", std::chrono::seconds(2), std::chrono::seconds(22)},
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

} // namespace larkmoor::host
