#pragma once

#include <cstdint>

namespace korvane::ipcapture
{

/// What the device is. Implemented and owned by the host; read only while `Open` runs.
class IHostDeviceDescription
{
public:
    virtual ~IHostDeviceDescription() = default;

    virtual void ReservedSlot1() = 0;            ///< never called by the driver
    virtual const char* GetModel() = 0;          ///< zero-ended
    virtual std::uint32_t GetChannelCount() = 0; ///< video channels: 1 for a camera, more for a video server
    virtual void ReservedSlot2() = 0;            ///< never called by the driver
    virtual std::uint32_t GetInputCount() = 0;   ///< digital inputs
    virtual std::uint32_t GetOutputCount() = 0;  ///< digital outputs
};

/// How the device is reached. Implemented and owned by the host; read only while `Open` runs.
class IHostConnection
{
public:
    virtual ~IHostConnection() = default;

    virtual const char* GetAddress() = 0;  ///< host name or IP address, zero-ended
    virtual std::uint16_t GetPort() = 0;   ///< HTTP port
    virtual void ReservedSlot1() = 0;      ///< never called by the driver
    virtual std::uint32_t GetCodec() = 0;  ///< 1 Motion JPEG, 2 MPEG-4, 3 H.264
    virtual const char* GetUser() = 0;     ///< zero-ended, may be empty
    virtual const char* GetPassword() = 0; ///< zero-ended, may be empty
};

/// The settings of one device, given to `Open`. Implemented and owned by the host; read only during that
/// call.
class IHostDeviceSettings
{
public:
    virtual ~IHostDeviceSettings() = default;

    virtual IHostDeviceDescription* GetDescription() = 0; ///< never null
    virtual IHostConnection* GetConnection() = 0;         ///< never null
    virtual void ReservedSlot1() = 0;                     ///< never called by the driver

    /// The zero-ended text of a numbered property, or null if there is none. The driver asks for 1, 2, 3 and
    /// so on up to the first null, and for 101 and 102 (audio input and output capabilities). The text must
    /// stay valid until the next call.
    virtual const char* GetParameter(std::uint32_t number) = 0;
};

} // namespace korvane::ipcapture
