#pragma once

#include <cstdint>

namespace korvane
{
namespace ipcapture
{

/// Signal states of inputs and outputs.
constexpr std::uint32_t kSignalUnknown = 0;
constexpr std::uint32_t kSignalLow = 1;
constexpr std::uint32_t kSignalHigh = 2;

/// Receives the changes of a device's digital inputs. Implemented and owned by the host, valid until `StopIO`
/// returns.
class IHostIOClient
{
public:
    virtual ~IHostIOClient() = default;

    /// Input `number`, from 0, changed to the signal state `state`. The first poll, and the first
    /// one after a failure, reports every input that can be read. On the input thread.
    virtual void InputChanged(std::uint32_t number, std::uint32_t state) = 0;

    /// The driver could not read the inputs or switch an output. Called after each failure, on the input or
    /// the output thread.
    virtual void ConnectionLost() = 0;
};

/// Digital inputs and outputs of one device. Owned by the driver; the host calls `StopIO` before `Close`. Any
/// thread.
class ICaptureIOApi
{
public:
    virtual ~ICaptureIOApi() = default;

    /// Call it before `StartIO`. Returns false for null, and keeps the earlier client.
    virtual bool SetClient(IHostIOClient* client) = 0;

    /// Starts the two threads: one polls the inputs every 2 s, one switches the outputs. All outputs are
    /// switched off first. Returns false if a thread could not start, and from inside a call on the client. A
    /// device without inputs or without outputs needs no thread for them.
    virtual bool StartIO() = 0;

    /// Stops both threads and ends their requests. No call on the client begins after it returns. If a call
    /// on the client is in progress, it waits until that call returns, and at most 2 s more. From inside a
    /// call on the client it does not wait.
    virtual void StopIO() = 0;

    virtual std::uint32_t GetInputCount() = 0;  ///< the number that the host gave at `Open`
    virtual std::uint32_t GetOutputCount() = 0; ///< as the host told at `Open`

    /// Queues a request to switch output `number`, from 0: `kSignalHigh` is on, any other value is off.
    /// Returns at once. True means that the request is queued, not that the output was switched; the driver
    /// ignores a number that the device does not have. False means that the outputs have not been started or
    /// that memory has run out.
    virtual bool SetOutput(std::uint32_t number, std::uint32_t state) = 0;
};

} // namespace ipcapture
} // namespace korvane
