#pragma once

#include "device/client_gate.h"
#include "device/driver.h"
#include "runtime/one_at_a_time.h"
#include "runtime/queue_thread.h"
#include "runtime/recursive_lock.h"
#include "runtime/tick_thread.h"

#include <larkmoor/capture_io.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace korvane
{

/// The digital inputs and outputs of one device: polls the inputs on one thread and switches the outputs on
/// another, keeps the state of each, and tells the host what changes. How a device is asked is the
/// subclass's.
///
/// The host's calls come on its threads; `InputChanged` is called on the input thread, `ConnectionLost` on
/// both. No lock is held over a request to the device or a call of the host.
///
/// A stop waits for both threads, and so for a call that the host has in hand. From inside such a call it
/// waits for nothing, and no other call follows; an object that is shared then lives until the thread ends.
class CIOBase : public ipcapture::ICaptureIOApi, public std::enable_shared_from_this<CIOBase>
{
public:
    static constexpr std::uint32_t kPollIntervalMs = 2000; ///< from the end of one poll to the next

    explicit CIOBase(IDriver* driver); ///< not owned; outlives the object

    bool SetClient(ipcapture::IHostIOClient* client) override;
    bool StartIO() override;
    void StopIO() override;
    std::uint32_t GetInputCount() override { return driver_->GetIOCounts().first; }
    std::uint32_t GetOutputCount() override { return driver_->GetIOCounts().second; }
    bool SetOutput(std::uint32_t number, std::uint32_t state) override;

    /// Switches one output unless it is in that state already; on the output thread.
    virtual void SetOutputStateWrapper(std::uint32_t number, std::uint32_t state);

    /// Switches one output of the device (2 on, anything else off); true if the device took it.
    virtual bool SetOutputState(std::uint32_t number, std::uint32_t state) = 0;

    /// Reads inputs 0 to `inputCount` - 1 and gives each to `SetInputState`; false if the device gave
    /// nothing.
    virtual bool PollInputs(std::uint32_t inputCount) = 0;

    virtual void PrepareIO() {} ///< before the threads start; may come again while they run

    /// Ends what the two threads may be waiting for; on the thread that stops, again and again until both
    /// have ended: one may just have looked at its stop event and then begun another request.
    virtual void InterruptRequests() = 0;

protected:
    void SetInputState(std::uint32_t number, std::uint32_t state);

    /// Waits for the end of both threads; for the destructor of what derives from this one. A thread that is
    /// the caller's own is not waited for.
    void EndThreads(bool tellsFailure = false);
    void SetPollInterval(std::uint32_t intervalMs) { inputThread_.SetTickInterval(intervalMs); }

    IDriver* const driver_;

private:
    /// A thread whose stop ends the requests of its object.
    template <class Thread>
    class TInterruptedThread : public Thread
    {
    public:
        template <class Member>
        TInterruptedThread(IDebugMessage* debug, CIOBase* io, Member member)
            : Thread(debug, io, member), io_(io)
        {
        }

        void Run() override
        {
            Thread::Run();
            io_->LetGo(); // this thread may be gone with it
        }

    protected:
        void OnStopRequested() override { io_->InterruptRequests(); }

    private:
        CIOBase* const io_;
    };

    using States = std::vector<std::uint32_t>; // by number

    void PollTick();
    bool Poll();
    void SetInputsConnectionState(bool connected);
    void ResetStates();
    bool StartOutputs(std::uint32_t count);
    bool StartInputs();
    bool Store(States& states, std::uint32_t number, std::uint32_t state);
    std::string DeviceText() const;
    std::string ThreadName(const char* kind) const;
    void TellFailed(const char* what, const char* kind);
    void StopFromInside();
    void LetGo();

    TInterruptedThread<TTickThread<CIOBase>> inputThread_;
    TInterruptedThread<TOutputHandler<CIOBase>> outputThread_;
    std::atomic<ipcapture::IHostIOClient*> client_{nullptr};
    TClientGate<ipcapture::IHostIOClient> gate_{nullptr}; // to the client, from a start to a stop from inside
    COneAtATime turn_;                                    // to start or stop
    std::atomic<std::uint32_t> inputThreadId_{0};
    CRecursiveLock lock_; // guards the next three
    States inputStates_;
    States outputStates_;
    std::shared_ptr<CIOBase> untilThreadEnds_; // itself, after a stop from inside a call
    std::atomic<bool> inputsConnected_{true};
    std::atomic<bool> outputsWorking_{true};
};

} // namespace korvane
