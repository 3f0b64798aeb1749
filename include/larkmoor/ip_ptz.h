#pragma once

#include <cstdint>

namespace korvane
{
namespace ipcapture
{

/// Results of the operations of `IIPPTZApi`.
constexpr std::int32_t kPTZDone = 1;         ///< done, or queued
constexpr std::int32_t kPTZBadArgument = -3; ///< also: the name does not fit into the buffer
constexpr std::int32_t kPTZNotQueued =
    -18; ///< not queued, the driver is closing, or the preset was not added
constexpr std::int32_t kPTZPresetFailed = -23;   ///< no preset of this name, or the device refused
constexpr std::int32_t kPTZPresetListFull = -26; ///< the device cannot store another preset

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

/// The capabilities of a PTZ: fourteen 32-bit words in the host's memory. Each flag is 1 or 0; all are 0 for
/// a device without PTZ.
struct PTZCapabilityRecord
{
    std::uint32_t hostWord;            ///< not changed by the driver
    std::uint32_t capabilities0to4[5]; ///< pan, tilt, zoom, focus, iris
    std::uint32_t reserved7;           ///< 0
    std::uint32_t maximumPresets;      ///< presets that the device can store
    std::uint32_t namedPresets;        ///< presets that have a name
    std::uint32_t reserved10;          ///< 0
    std::uint32_t reserved11;          ///< 0
    std::uint32_t capabilities5to7[3]; ///< always 0; 1 if it can pan or tilt; always 0
};
static_assert(sizeof(PTZCapabilityRecord) == 56, "the host reads this layout");

/// Controls one PTZ. Owned by the driver, valid until `Close`. Call it from one thread at a time. Speeds are
/// 1 slowest to 16 fastest. Results are the codes above. Texts are zero-ended.
///
/// Movements and stops are queued, and the driver sends one at a time: `kPTZDone` means that a command is
/// queued, not that the device accepted it. The queue holds eight commands; a ninth removes the oldest.
/// `Close` drops queued movements and sends queued stops. The driver does not report a device that refuses a
/// command or does not answer. Preset operations send their request on the calling thread, after any request
/// already in progress.
///
/// To make sure that a stop is not lost:
/// - Call `Stop` last in each movement, and again if it does not return `kPTZDone`.
/// - Send fewer than eight commands in the time that the device needs for one. A stop takes three requests.
/// Read a
///   joystick a few times per second, and pass on only its changes.
/// - After eight or more calls since the last stop, or when in doubt that the stop arrived, start the slowest
///   movement and stop it again. A second `Stop` alone sends nothing: it ends only what this control has
///   started since the last one.
/// - Keep the driver open until the stop has had time to reach the device.
///
/// Start zooming with `ZoomIn` and `ZoomOut`. `StartMove` ignores a movement that repeats direction and speed
/// within 500 ms, and for zooming it does so even after a stop.
class IIPPTZApi
{
public:
    virtual ~IIPPTZApi() = default;

    virtual std::int32_t IsAvailable() = 0; ///< 1 yes, 0 no, or `kPTZNotQueued`
    virtual std::int32_t StartMove(std::uint32_t direction, std::uint32_t speed) = 0; ///< speed 0: `Stop`
    virtual std::int32_t Stop() = 0; ///< ends all that this control has started; see above

    /// Moves the point `x`, `y` of the picture, in pixels of the video channel's size, to the center. The
    /// video channel must be running. `third` is not used.
    virtual std::int32_t Center(std::uint32_t x, std::uint32_t y, std::uint32_t third) = 0;
    virtual std::int32_t ZoomIn(std::uint32_t speed) = 0;
    virtual std::int32_t ZoomOut(std::uint32_t speed) = 0;
    virtual std::int32_t Unzoom(std::uint32_t speed) = 0; ///< accepted, but these devices do not support it
    /// Accepted, but these devices do not support it.
    virtual std::int32_t AreaZoom(std::uint32_t x, std::uint32_t y, std::uint32_t third,
                                  std::uint32_t fourth) = 0;
    virtual std::int32_t FocusNear(std::uint32_t speed) = 0; ///< this and the next three: `speed` is not used
    virtual std::int32_t FocusFar(std::uint32_t speed) = 0;
    virtual std::int32_t IrisOpen(std::uint32_t speed) = 0;
    virtual std::int32_t IrisClose(std::uint32_t speed) = 0;
    virtual std::int32_t GetCapabilities(PTZCapabilityRecord* record) = 0;
    virtual std::uint32_t GetPresetCount() = 0; ///< presets that have a name

    /// Copies a preset's name with its final zero into `buffer` of `size` bytes. `index` from 0.
    virtual std::int32_t GetPresetName(std::uint32_t index, char* buffer, std::uint32_t size) = 0;
    virtual std::int32_t RecallPreset(std::uint32_t speed, const char* name) = 0; ///< `speed` is not used

    /// Stores the current view. A name is not empty and has none of `& ! < > ' "`, otherwise
    /// `kPTZBadArgument`.
    virtual std::int32_t AddPreset(const char* name) = 0;
    virtual std::int32_t DeletePreset(const char* name) = 0;

    /// The preset that this control recalled or added last, unless it has moved the PTZ since; as
    /// `GetPresetName`.
    virtual std::int32_t GetCurrentPreset(char* buffer, std::uint32_t size) = 0;
};

class IIPPTZApiEx : public IIPPTZApi
{
public:
    virtual std::uint32_t ReservedEcho(std::uint32_t value) = 0; ///< returns `value`
};

/// The channel of a PTZ control, and two values that it stores for the host.
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

/// The PTZ controls of a device. Owned by the driver. Call it from one thread at a time.
class IIPPTZDriver
{
public:
    virtual ~IIPPTZDriver() = default;

    /// The control of the PTZ; only channel 0 has one. The first call starts its thread and reads the presets
    /// from the device on the calling thread. Null if the thread cannot be created; the next call tries
    /// again.
    virtual IIPPTZApi* GetPTZControl(std::uint32_t channel) = 0;
};

class IIPPTZDriverEx : public IIPPTZDriver
{
public:
    virtual IIPPTZApiEx* GetPTZControlEx(std::uint32_t channel) = 0; ///< as `GetPTZControl`
};

} // namespace ipcapture
} // namespace korvane
