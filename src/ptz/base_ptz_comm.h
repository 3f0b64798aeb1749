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

    /// A command as the host gives it, under the name that messages have for it.
    struct Operation
    {
        const char* name;
        Command command;
        Subcommand subcommand;
    };
    static constexpr Operation kStartMove{"StartMove", Command::kMove, Subcommand::kNone};
    static constexpr Operation kFocusFar{"StartFocus", Command::kFocus, Subcommand::kFocusFar};
    static constexpr Operation kFocusNear{"StartFocus", Command::kFocus, Subcommand::kFocusNear};
    static constexpr Operation kIrisOpen{"StartIris", Command::kIris, Subcommand::kIrisOpen};
    static constexpr Operation kIrisClose{"StartIris", Command::kIris, Subcommand::kIrisClose};
    static constexpr Operation kCenter{"Center", Command::kCenter, Subcommand::kNone};
    static constexpr Operation kAreaZoom{"AreaZoom", Command::kAreaZoom, Subcommand::kNone};
    static constexpr Operation kUnzoom{"Unzoom", Command::kUnzoom, Subcommand::kNone};
    static constexpr Operation kStopMoving{"StopMoving", Command::kStop, Subcommand::kStopMoving};
    static constexpr Operation kStopZooming{"StopZooming", Command::kStop, Subcommand::kStopZooming};
    static constexpr Operation kStopFocusing{"StopFocusing", Command::kStop, Subcommand::kStopFocusing};
    static constexpr Operation kStopIris{"StopIrisChanging", Command::kStop, Subcommand::kStopIris};

    struct Arguments
    {
        std::uint32_t speed = 0; // 1 to 16
        std::uint32_t a = 0;     // direction, or x
        std::uint32_t b = 0;     // y
        std::uint32_t c = 0;     // further argument of an area zoom; for other families
    };

    struct CWorkItem : IWorkItem, Arguments
    {
        CWorkItem(const Operation& operation, ipcapture::IIPParams* control, const Arguments& arguments)
            : Arguments(arguments),
              command(operation.command),
              subcommand(operation.subcommand),
              params(control)
        {
        }
        const Command command;
        const Subcommand subcommand;
        ipcapture::IIPParams* const params; // the control that gave the command; for other families
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

    /// Queues one command of the control `params`: 1, or -18 if the worker doesn't run.
    std::int32_t Queue(const Operation& operation, ipcapture::IIPParams* params, const Arguments& arguments);

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
    bool IsLate() const;

    bool opened_ = false;
    std::atomic<bool> closing_{false};
    CRecursiveLock deadlineLock_; // held while a request is ended, so that none with a later deadline is
    std::atomic<std::uint32_t> deadlineMs_{0}; // of the requests during a close, on the clock of milliseconds
    bool stopsBegun_ = false;                  // the worker's: of the stops that outlive a close
};

} // namespace korvane
