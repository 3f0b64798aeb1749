#pragma once

#include "device/driver.h"

#include <cstdint>
#include <memory>

namespace korvane
{

/// Channel states, as the host reads them.
inline constexpr std::uint32_t kChannelRunning = 0; ///< delivers, or has delivered since the last (re)start
inline constexpr std::uint32_t kChannelConnecting = 2; ///< lost, and being won back
inline constexpr std::uint32_t kChannelStopped = 3;    ///< stopped, or not yet started

/// One video stream of one camera input. `Start` and `Stop` must not overlap; the rest runs on any thread.
class ICameraChannel : public std::enable_shared_from_this<ICameraChannel>
{
public:
    virtual ~ICameraChannel() = default;

    /// Starts the stream's thread, after stopping one that runs. False if no thread could be had.
    virtual bool Start(const ChannelSettings& settings) = 0;

    /// From its return on the channel calls its client no more. Returns when the thread has ended, or after
    /// twice the network time-out with the thread given up; threads that deliver are then given 2 s. From
    /// inside a call on the client it does not wait: the channel then lives until its thread has ended, if a
    /// `shared_ptr` owns it.
    /// False then: it is to be stopped once more, from elsewhere, before what it uses goes.
    virtual bool Stop() = 0;

    /// Tells the stream's thread to stop, and ends what it waits in, without waiting for it: so that the
    /// stops of several channels take as long as the longest. `Stop` follows.
    virtual void RequestStop() = 0;

    /// Leaves a change for the channel's thread to pick up. Always true.
    virtual bool ChangeSettings(const ChannelChange& change) = 0;

    virtual std::uint32_t GetChannelState() const = 0;
    virtual void SetChannelState(std::uint32_t state) = 0;
    virtual ChannelSettings GetSettings() const = 0;
};

} // namespace korvane
