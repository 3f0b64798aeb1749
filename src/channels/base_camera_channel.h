#pragma once

#include "channels/camera_channel.h"
#include "device/client_gate.h"
#include "device/driver.h"
#include "platform/socket.h"
#include "platform/thread.h"
#include "runtime/event.h"
#include "runtime/recursive_lock.h"
#include "runtime/set_up.h"
#include "runtime/time.h"

#include <larkmoor/host_channel_client.h>

#include <atomic>
#include <cstdint>
#include <memory>

namespace korvane
{

/// What a change asked by the host touches.
inline constexpr std::uint32_t kNothingChanged = 0;
inline constexpr std::uint32_t kRateChanged = 1;
inline constexpr std::uint32_t kResolutionChanged = 2; ///< may be combined with the rate

/// What all video channels share: the thread from `Start` to `Stop`, the state, the online flag with its
/// lines in the host's log, the last-frame clock, and the hand-over of changes. It knows nothing of a
/// transport.
///
/// Threads: the host's (`Start`, `Stop`, `ChangeSettings`, the state), the channel's own (`Run`), and those
/// of a transport that deliver frames. No lock is held across a call into the host. A thread that does not
/// end in time is given up: it runs no more of the channel (platform/thread.h), so that the channel may be
/// deleted then as always.
class CBaseCameraChannel : public ICameraChannel
{
public:
    /// `channel` from 0. `driver` outlives the object; `client` is the host's and may be null.
    CBaseCameraChannel(std::uint32_t channel, IDriver* driver, ipcapture::IHostChannelClient* client);

    bool Start(const ChannelSettings& settings) override;
    bool Stop() override;
    void RequestStop() override;
    bool ChangeSettings(const ChannelChange& change) override;
    std::uint32_t GetChannelState() const override { return state_; }
    void SetChannelState(std::uint32_t state) override { state_ = state; }
    ChannelSettings GetSettings() const override;

protected:
    /// What the stream needs; reads what that depends on. On the host's thread, before the channel's.
    virtual CSetUp::Needs Prepare() { return {}; }

    /// The thread's body; ends soon after the stop event is set. What it gives is the thread's exit code.
    virtual std::uint32_t Run() = 0;

    /// Called by `Stop` on the host's thread, with the stop event set, at once and every 100 ms until the
    /// thread has ended: the place to end what the thread may be blocked in.
    virtual void OnStopRequested() {}

    /// Called by `Stop` once the channel's own thread has ended or, with `isGivenUp`, was given up: ends what
    /// else calls the client, and gives back what it holds. Nothing when that has been done.
    virtual void EndDelivery([[maybe_unused]] bool isGivenUp) {}

    std::uint32_t GetLastFrameAgeMs() const { return lastFrame_.GetElapsedMs(); }
    void TouchLastFrame() { lastFrame_.Update(); }

    /// Tells the host's log when the device goes online or offline; nothing if it is so already. Any thread.
    void SetCameraState(bool online);

    const CClientGateBase& Gate() const { return gate_; } ///< for a scope on a thread of the channel

    /// True if the host took the frame. Any thread.
    bool SendFrameToHost(ipcapture::IHostFrame* frame);
    void NotifySignalLost();

    /// Takes over what the last `ChangeSettings` changes, as a mask of the values above. Width and height
    /// count together; the interval counts by its whole frame rate. The channel's thread.
    std::uint32_t GetPendingChange();

    bool IsStopping() { return stopEvent_.Wait(0); }

    const std::uint32_t channel_; ///< from 0
    IDriver* const driver_;

    /// Written by `Start` and `GetPendingChange` only, so the channel's thread reads it without the change
    /// lock.
    ChannelSettings settings_;

    CManualEvent stopEvent_;
    CEvent changeEvent_{false}; ///< set when a change is pending
    CSetUp setUp_;

private:
    bool StopFromInside();
    void GiveUpThread();
    static std::uint32_t Entry(void* context);
    std::string DeviceText() const;

    std::atomic<std::uint32_t> state_{kChannelStopped};
    std::atomic<bool> online_{false};
    TClientGate<ipcapture::IHostChannelClient> gate_;
    CTime lastFrame_;
    mutable CRecursiveLock changeLock_; // guards the pending change, and the settings between threads
    ChannelChange pendingChange_;
    platform::SocketLibraryUse socketLibrary_; ///< held from `Start` to `Stop`
    platform::Thread thread_;
    std::shared_ptr<ICameraChannel> untilThreadEnds_; // itself, after a stop from inside a call
};

} // namespace korvane
