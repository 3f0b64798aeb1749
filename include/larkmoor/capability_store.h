#pragma once

#include <larkmoor/device_property.h>

#include <cstdint>

namespace korvane
{
namespace ipcapture
{

/// One text of the connection. Implemented and owned by the host.
class ICapabilityField
{
public:
    virtual ~ICapabilityField() = default;

    virtual void SetText(const char* text) = 0; ///< zero-ended; valid during the call
};

/// One numbered property, which the host keeps and returns at `Open`. Implemented and owned by the host.
class ICapabilityParameter
{
public:
    virtual ~ICapabilityParameter() = default;

    virtual void SetValue(const char* text) = 0; ///< zero-ended, valid during the call; "(none)": empty value
    virtual void ReservedSlot1() = 0;            ///< never called by the driver
    virtual void ReservedSlot2() = 0;            ///< never called by the driver
    virtual void SetIsText(bool isText) = 0;     ///< false: a number in decimal digits
    virtual void SetName(const char* text) = 0;  ///< English, zero-ended, valid during the call
    virtual void SetReserved(std::uint32_t value) = 0; ///< always 0
};

/// The picture sizes of a device. Implemented and owned by the host.
class IResolutionList
{
public:
    virtual ~IResolutionList() = default;

    /// `text` is width and height, like "640x480", zero-ended and valid during the call; `width` and `height`
    /// are in pixels. `frameTime` is the shortest time between two frames of this size in milliseconds, or 0
    /// if it is unknown.
    virtual void Add(const char* text, std::uint32_t width, std::uint32_t height,
                     std::uint32_t frameTime) = 0;
};

/// The frame rates of a device as the time between two frames, 1000 / rate, rounded. Implemented and owned by
/// the host.
class IFrameTimeList
{
public:
    virtual ~IFrameTimeList() = default;

    virtual void SetDefault(std::uint32_t frameTime) = 0; ///< milliseconds; called after the last `Add`
    virtual void Add(std::uint32_t frameTime) = 0;        ///< milliseconds, longest first
};

/// The values of `ICapabilityStore::SetValue`. The driver does not set an item that the device does not have,
/// except those marked "always".
enum CapabilityValue : std::uint32_t
{
    kCapabilityChannelCount = 0, ///< video channels, 1 to 64; always
    kCapabilityPTZ = 1,          ///< 1: has PTZ
    kCapabilityInputCount = 2,   ///< digital inputs, 1 to 256
    kCapabilityOutputCount = 3,  ///< digital outputs, 1 to 256

    /// 1: has audio in any direction. Set again, to the number of audio channels from the device, if there
    /// are any.
    kCapabilityAudio = 4,

    kCapabilityMpeg4 = 6,          ///< 1: MPEG-4
    kCapabilityMotionJpeg = 7,     ///< 1: Motion JPEG
    kCapabilityH264 = 8,           ///< 1: H.264
    kCapabilityModernStream1 = 11, ///< 1: lists its capabilities, and all its video comes over RTSP; always
    kCapabilityModernStream2 = 12  ///< the same value; always
};

/// The texts of `ICapabilityStore::GetConnectionField`: what the host passed to `StartQuery`.
enum ConnectionField : std::uint32_t
{
    kConnectionAddress = 1,
    kConnectionPort = 2, ///< HTTP port, in decimal digits
    kConnectionUser = 3,
    kConnectionPassword = 4
};

/// Receives what a capability query found. Implemented and owned by the host, valid until the query has
/// ended. All calls come on the query's thread, once the device has been read completely, and before
/// `OnQueryDone`. The host owns the objects that the getters return; each is used until the next getter is
/// called. A getter may return null: the driver then skips that item. If a call throws, nothing more is
/// written and the query fails.
class ICapabilityStore
{
public:
    virtual ~ICapabilityStore() = default;

    virtual void SetValue(std::uint32_t id, std::uint32_t value) = 0; ///< `id`: a `CapabilityValue`

    /// Manufacturer and model, like "Vivotek IP8332"; zero-ended, valid during the call.
    virtual void SetModel(const char* text) = 0;

    virtual ICapabilityField* GetConnectionField(std::uint32_t index) = 0; ///< a `ConnectionField`
    virtual void ReservedSlot1() = 0;                                      ///< never called by the driver

    /// `id`: a `DeviceProperty`. The driver sets name, reserved value, type and value, in this order.
    virtual ICapabilityParameter* AddParameter(std::uint32_t id) = 0;

    virtual IResolutionList* GetResolutionList() = 0;
    virtual void ReservedSlot2() = 0;                                   ///< never called by the driver
    virtual IFrameTimeList* GetFrameTimeList(std::uint32_t number) = 0; ///< always called with 1
};

} // namespace ipcapture
} // namespace korvane
