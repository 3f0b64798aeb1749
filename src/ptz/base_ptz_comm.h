#pragma once

#include "device/driver.h"
#include "ptz/preposition_list.h"
#include "runtime/queue_thread.h"
#include "runtime/recursive_lock.h"

#include <larkmoor/ip_ptz.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>

namespace korvane
{

/// Capability flags of a head, each 1 or 0, in the order in which the host's record has them.
using PTZFlags = std::array<std::uint8_t, 8>;

/// Queues the commands of one camera head and executes them on the thread "BaseIPPTZThread_Ch%u", so that a
/// call of the host that moves a head returns at once. At most eight commands wait; a ninth drops the oldest.
/// How a device is told is the subclass's, which also stops the thread in its own destructor, by `Close`.
///
/// The host's threads post; one worker executes. A subclass's requests are guarded by the subclass.
class CBasePTZComm : public thread::CWorkItemThreadEx, public IPrepositionComm
{
public:
    enum class Command : std::uint32_t
    {
        kMove = 1,
        kFocus = 2,
        kIris = 3,
        kStop = 4,
        kAreaZoom = 5,
        kCenter = 6,
        kUnzoom = 7,
    };

    enum class Subcommand : std::uint32_t
    {
        kNone = 0,
        kFocusFar = 1,
        kFocusNear = 2,
        kIrisOpen = 3,
        kIrisClose = 4,
        kStopMoving = 5,
        kStopZooming = 6,
        kStopFocusing = 7,
        kStopIris = 8,
    };

    struct Arguments
    {
        Command command = Command::kMove;
        Subcommand subcommand = Subcommand::kNone;
        ipcapture::IIPParams* params = nullptr; // the control that gave the command; for other families
        std::uint32_t speed = 0;                // 1 to 16
        std::uint32_t a = 0;                    // direction, or x
        std::uint32_t b = 0;                    // y
        std::uint32_t c = 0;                    // further argument of an area zoom; for other families
    };

    struct CWorkItem : IWorkItem, Arguments
    {
        explicit CWorkItem(const Arguments& arguments) : Arguments(arguments) {}
    };

    CBasePTZComm(std::uint16_t channel, IDriver* driver);

    /// The device's capability flags, in the host's order; left as they are when the head has none.
    virtual void GetCapabilityFlags(PTZFlags& flags) = 0;
    virtual std::size_t GetMaxQueuedCommands() { return 8; }
    virtual bool Open();                                                   ///< starts the worker thread
    virtual std::int32_t IsPTZAvailable(ipcapture::IIPParams* params) = 0; ///< 1 or 0

    /// Starts the time of a `Close`, which follows: the worker does no more than a close lets it.
    void BeginClose();

    /// Takes no more commands. The one in hand, and the request of another thread that it may wait for, has
    /// `kInHandMs` to end. Then stops that are queued have `kStopMs` together, so that a moving head stops.
    /// What is not done by then is ended, and nothing else is begun. Waits for that.
    void Close();

    /// While a close goes on: ends the request in progress once its time is up. To be called again and again.
    void OnStopRequested() override;

    /// Each queues one command: 1, or -18 if the worker doesn't run.
    std::int32_t StartMove(ipcapture::IIPParams* params, std::uint32_t direction, std::uint32_t speed)
    {
        return Queue("StartMove",
                     {.command = Command::kMove, .params = params, .speed = speed, .a = direction});
    }
    std::int32_t StartFocus(ipcapture::IIPParams* params, bool near, std::uint32_t speed)
    {
        const Subcommand way = near ? Subcommand::kFocusNear : Subcommand::kFocusFar;
        return Queue("StartFocus",
                     {.command = Command::kFocus, .subcommand = way, .params = params, .speed = speed});
    }
    std::int32_t StartIris(ipcapture::IIPParams* params, bool open, std::uint32_t speed)
    {
        const Subcommand way = open ? Subcommand::kIrisOpen : Subcommand::kIrisClose;
        return Queue("StartIris",
                     {.command = Command::kIris, .subcommand = way, .params = params, .speed = speed});
    }
    std::int32_t Center(ipcapture::IIPParams* params, std::uint32_t x, std::uint32_t y, std::uint32_t third)
    {
        return Queue("Center",
                     {.command = Command::kCenter, .params = params, .speed = third, .a = x, .b = y});
    }
    std::int32_t AreaZoom(ipcapture::IIPParams* params, std::uint32_t x, std::uint32_t y, std::uint32_t third,
                          std::uint32_t fourth)
    {
        return Queue(
            "AreaZoom",
            {.command = Command::kAreaZoom, .params = params, .speed = fourth, .a = x, .b = y, .c = third});
    }
    std::int32_t Unzoom(ipcapture::IIPParams* params, std::uint32_t speed)
    {
        return Queue("Unzoom", {.command = Command::kUnzoom, .params = params, .speed = speed});
    }

    /// The same, true if it is queued.
    bool StopMoving(ipcapture::IIPParams* params)
    {
        return QueueStop("StopMoving", Subcommand::kStopMoving, params);
    }
    bool StopZooming(ipcapture::IIPParams* params)
    {
        return QueueStop("StopZooming", Subcommand::kStopZooming, params);
    }
    bool StopFocusing(ipcapture::IIPParams* params)
    {
        return QueueStop("StopFocusing", Subcommand::kStopFocusing, params);
    }
    bool StopIrisChanging(ipcapture::IIPParams* params)
    {
        return QueueStop("StopIrisChanging", Subcommand::kStopIris, params);
    }

    std::uint32_t PresetCount() const { return presetCount_; }

    static constexpr std::uint32_t kInHandMs = 2000;
    static constexpr std::uint32_t kStopMs = 1500;

    std::string GetDeviceName() const override { return driver_->GetDeviceName(); }
    [[gnu::format(printf, 3, 4)]] void DebugMessage(std::int32_t level, const char* format, ...) override;

protected:
    bool OutlivesStop(const IWorkItem& item) const override;

    /// Whether the worker is to execute `item`: not when it is none that a close lets through. Just before.
    bool MayExecute(const CWorkItem& item);
    bool IsClosing() const { return closing_; }
    bool MayRequest() const { return !closing_ || !IsLate(); } ///< begin another request to the device

    /// Ends the request in progress, if there is one. Any thread.
    virtual void EndRequest() = 0;

    const std::uint32_t channel_; ///< from 0
    IDriver* const driver_;
    std::uint32_t presetCount_ = 0; ///< places for presets of the device

private:
    std::int32_t Queue(const char* operation, const Arguments& arguments);
    bool QueueStop(const char* operation, Subcommand what, ipcapture::IIPParams* params)
    {
        return Queue(operation, {.command = Command::kStop, .subcommand = what, .params = params}) ==
               ipcapture::kPTZDone;
    }
    bool IsLate() const;

    bool opened_ = false;
    std::atomic<bool> closing_{false};
    CRecursiveLock deadlineLock_; // held while a request is ended, so that none with a later deadline is
    std::atomic<std::uint32_t> deadlineMs_{0}; // of the requests during a close, on the clock of milliseconds
    bool stopsBegun_ = false;                  // the worker's: of the stops that outlive a close
};

} // namespace korvane
