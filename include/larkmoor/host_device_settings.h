#pragma once

#include <larkmoor/device_property.h>

#include <cstdint>

namespace korvane
{
namespace ipcapture
{

/// The codecs of `IHostConnection::GetCodec`. Frames name their format by the four-character codes of
/// host_frame.h instead, and a capability query by the values of `CapabilityValue`.
constexpr std::uint32_t kDeviceCodecMotionJpeg = 1;
constexpr std::uint32_t kDeviceCodecMpeg4 = 2;
constexpr std::uint32_t kDeviceCodecH264 = 3;

/// What the device is. Implemented and owned by the host; the driver reads it only during `Open`, on the
/// calling thread.
class IHostDeviceDescription
{
public:
    virtual ~IHostDeviceDescription() = default;

    virtual void ReservedSlot1() = 0;            ///< never called by the driver
    virtual const char* GetModel() = 0;          ///< for the log; zero-ended, null counts as empty
    virtual std::uint32_t GetChannelCount() = 0; ///< video channels: 1 for a camera, more for a video server
    virtual void ReservedSlot2() = 0;            ///< never called by the driver
    virtual std::uint32_t GetInputCount() = 0;   ///< digital inputs
    virtual std::uint32_t GetOutputCount() = 0;  ///< digital outputs
};

/// How to reach the device. Implemented and owned by the host; the driver reads it only during `Open`, on the
/// calling thread.
class IHostConnection
{
public:
    virtual ~IHostConnection() = default;

    virtual const char* GetAddress() = 0;  ///< host name or IPv4 address; zero-ended, null counts as empty
    virtual std::uint16_t GetPort() = 0;   ///< HTTP port
    virtual void ReservedSlot1() = 0;      ///< never called by the driver
    virtual std::uint32_t GetCodec() = 0;  ///< of all video channels; one of the codecs above
    virtual const char* GetUser() = 0;     ///< zero-ended, may be empty; null counts as empty
    virtual const char* GetPassword() = 0; ///< zero-ended, may be empty; null counts as empty
};

/// The settings of one device, passed to `Open`. Implemented and owned by the host; the driver reads it only
/// during that call, on the calling thread. If a getter throws, `Open` returns false.
class IHostDeviceSettings
{
public:
    virtual ~IHostDeviceSettings() = default;

    virtual IHostDeviceDescription* GetDescription() = 0; ///< null makes `Open` return false
    virtual IHostConnection* GetConnection() = 0;         ///< null makes `Open` return false
    virtual void ReservedSlot1() = 0;                     ///< never called by the driver

    /// The zero-ended text of a numbered property, see `DeviceProperty`, or null if there is none. The driver
    /// asks for 1, 2, 3 and so on up to the first null, and then for 101 and 102: return an empty text for a
    /// lower number that has no value. The text must stay valid until the next call.
    virtual const char* GetParameter(std::uint32_t number) = 0;
};

} // namespace ipcapture
} // namespace korvane
