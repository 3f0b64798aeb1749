#pragma once

#include <cstdint>

namespace korvane::ipcapture
{

/// Results of the operations of `IIPPTZApi`.
constexpr std::int32_t kPTZDone = 1;         ///< done, or queued
constexpr std::int32_t kPTZBadArgument = -3; ///< also: the name does not fit the buffer
constexpr std::int32_t kPTZNotQueued = -18;  ///< no command thread, or the queue refused
constexpr std::int32_t kPTZPresetFailed = -23;
constexpr std::int32_t kPTZPresetListFull = -26;

/// Directions of `IIPPTZApi::StartMove`.
enum PTZDirection : std::uint32_t
{
    kPTZLeft = 0,
    kPTZRight = 1,
    kPTZUp = 2,
    kPTZDown = 3,
    kPTZUpLeft = 4,
    kPTZUpRight = 5,
    kPTZDownLeft = 6,
    kPTZDownRight = 7,
    kPTZZoomIn = 8,
    kPTZZoomOut = 9,
    kPTZNoDirection = 10
};

/// What a head can do: fourteen 32-bit words in memory of the host's.
struct PTZCapabilityRecord
{
    std::uint32_t hostWord;            ///< the host's own; left as it is
    std::uint32_t capabilities0to4[5]; ///< capability flags 0 to 4, each 1 or 0
    std::uint32_t reserved7;           ///< 0
    std::uint32_t maximumPresets;
    std::uint32_t namedPresets;
    std::uint32_t reserved10;          ///< 0
    std::uint32_t reserved11;          ///< 0
    std::uint32_t capabilities5to7[3]; ///< capability flags 5 to 7, each 1 or 0
};
static_assert(sizeof(PTZCapabilityRecord) == 56, "the host reads this layout");

/// The control of one camera head. Owned by the handler that gave it, valid until the driver's `Close`.
/// Driven by one host thread at a time. Speeds are 1 to 16. Results are the codes above. Texts are
/// zero-ended.
///
/// Moves and stops are queued and sent one by one; 1 says that a command waits, not that the device took it.
/// Eight may wait: the ninth drops the oldest, and `Close` drops the moves and sends the stops. A device that
/// refuses or does not answer loses that command, and nobody is told. Preset operations reach the device on
/// the calling thread, at most behind the command in hand.
///
/// So that a stop is never lost, a host
/// - calls `Stop` as the last call of each movement, and again if it does not give 1;
/// - sends fewer than eight commands in the time that the device takes for one of them, a stop being three
///   requests: a joystick is best read a few times a second, and only a change of it passed on;
/// - after eight or more calls since a stop, or when it doubts that the stop arrived, starts the slowest
///   movement and stops it again: a second `Stop` alone sends nothing, since it ends only what this control
///   has started since the last one;
/// - leaves the driver open until the stop has had time to go out.
/// Zooming is best begun by `ZoomIn` and `ZoomOut`: `StartMove` takes the same zoom at the same speed within
/// 500 ms for a repeat, even if it was stopped in between, and sends nothing.
class IIPPTZApi
{
public:
    virtual ~IIPPTZApi() = default;

    virtual std::int32_t IsAvailable() = 0;                                           ///< 1 or 0, or -18
    virtual std::int32_t StartMove(std::uint32_t direction, std::uint32_t speed) = 0; ///< speed 0 stops
    virtual std::int32_t Stop() = 0; ///< ends all that this control has started; see above
    virtual std::int32_t Center(std::uint32_t x, std::uint32_t y, std::uint32_t third) = 0;
    virtual std::int32_t ZoomIn(std::uint32_t speed) = 0;
    virtual std::int32_t ZoomOut(std::uint32_t speed) = 0;
    virtual std::int32_t Unzoom(std::uint32_t speed) = 0;
    virtual std::int32_t AreaZoom(std::uint32_t x, std::uint32_t y, std::uint32_t third,
                                  std::uint32_t fourth) = 0;
    virtual std::int32_t FocusNear(std::uint32_t speed) = 0;
    virtual std::int32_t FocusFar(std::uint32_t speed) = 0;
    virtual std::int32_t IrisOpen(std::uint32_t speed) = 0;
    virtual std::int32_t IrisClose(std::uint32_t speed) = 0;
    virtual std::int32_t GetCapabilities(PTZCapabilityRecord* record) = 0;
    virtual std::uint32_t GetPresetCount() = 0; ///< presets that have a name

    /// Copies a preset's name with its final zero into `buffer` of `size` bytes. `index` from 0.
    virtual std::int32_t GetPresetName(std::uint32_t index, char* buffer, std::uint32_t size) = 0;
    virtual std::int32_t RecallPreset(std::uint32_t speed, const char* name) = 0;
    virtual std::int32_t AddPreset(const char* name) = 0;
    virtual std::int32_t DeletePreset(const char* name) = 0;

    /// The preset that was recalled last, if the head has not been moved since; as `GetPresetName`.
    virtual std::int32_t GetCurrentPreset(char* buffer, std::uint32_t size) = 0;
};

class IIPPTZApiEx : public IIPPTZApi
{
public:
    virtual std::uint32_t ReservedEcho(std::uint32_t value) = 0; ///< gives `value` back
};

/// The channel of a control, and two flags that it keeps for the host.
class IIPParams
{
public:
    virtual ~IIPParams() = default;

    virtual std::uint32_t GetChannel() = 0; ///< from 0
    virtual std::uint8_t GetFlag1() = 0;
    virtual void SetFlag1(std::uint8_t value) = 0;
    virtual std::uint8_t GetFlag2() = 0;
    virtual void SetFlag2(std::uint8_t value) = 0;
};

/// Hands out the controls of a device's heads. Owned by the driver.
class IIPPTZDriver
{
public:
    virtual ~IIPPTZDriver() = default;

    virtual IIPPTZApi* GetPTZControl(std::uint32_t channel) = 0; ///< channel 0; null if it cannot be opened
};

class IIPPTZDriverEx : public IIPPTZDriver
{
public:
    virtual IIPPTZApiEx* GetPTZControlEx(std::uint32_t channel) = 0; ///< as `GetPTZControl`
};

} // namespace korvane::ipcapture
