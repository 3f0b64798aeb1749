#pragma once

#include <cstdint>

namespace korvane::ipcapture
{

/// Signal states of inputs and outputs.
constexpr std::uint32_t kSignalUnknown = 0;
constexpr std::uint32_t kSignalLow = 1;
constexpr std::uint32_t kSignalHigh = 2;

/// Hears of a device's inputs. Implemented and owned by the host, valid until `StopIO` returns.
class IHostIOClient
{
public:
    virtual ~IHostIOClient() = default;

    /// Input `number`, from 0, has the new state `state`. Runs on the input thread.
    virtual void InputChanged(std::uint32_t number, std::uint32_t state) = 0;

    /// A poll of the inputs or the switching of an output failed. Runs on the input or the output thread, at
    /// each failure.
    virtual void ConnectionLost() = 0;
};

/// Digital inputs and outputs of one device. Owned by the driver; the host calls `StopIO` before `Close`.
class ICaptureIOApi
{
public:
    virtual ~ICaptureIOApi() = default;

    virtual bool
    SetClient(IHostIOClient* client) = 0; ///< before `StartIO`; false, keeping the old one, for null
    virtual bool StartIO() = 0;           ///< false if one of the two threads could not start
    virtual void StopIO() = 0;            ///< ends both threads; no call on the client comes after it
    virtual std::uint32_t GetInputCount() = 0;
    virtual std::uint32_t GetOutputCount() = 0;

    /// Asks for output `number`, from 0, to be switched; 2 is on, anything else off. Returns at once: true
    /// says that the request is queued.
    virtual bool SetOutput(std::uint32_t number, std::uint32_t state) = 0;
};

} // namespace korvane::ipcapture
