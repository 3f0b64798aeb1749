#include "io/io_base.h"

#include "platform/thread.h"
#include "runtime/guarded.h"
#include "runtime/text.h"

#include <new>
#include <utility>

namespace korvane
{

CIOBase::CIOBase(IDriver* driver)
    : driver_(driver),
      inputThread_(driver, this, &CIOBase::PollTick),
      outputThread_(driver, this, &CIOBase::SetOutputStateWrapper)
{
    inputThread_.SetTickInterval(kPollIntervalMs);
}

bool CIOBase::SetClient(ipcapture::IHostIOClient* client)
{
    if (client == nullptr)
        return false;
    client_ = client;
    gate_.Set(client);
    return true;
}

std::string CIOBase::DeviceText() const
{
    return driver_->GetDriverName() + " / " + driver_->GetDeviceName();
}

std::string CIOBase::ThreadName(const char* kind) const
{
    return Utils::FormatString("Digital %s thread (%s)", kind, DeviceText().c_str());
}

bool CIOBase::StartIO()
{
    if (gate_.IsInside())
        return false; // the threads that would be started have not ended
    return Guarded(false,
                   [this]
                   {
                       const COneAtATime::Turn turn(turn_);
                       gate_.Set(client_);
                       ResetStates();
                       PrepareIO();
                       const auto [inputs, outputs] = driver_->GetIOCounts();
                       const bool outputsStarted = outputs == 0 || StartOutputs(outputs);
                       const bool inputsStarted = inputs == 0 || StartInputs();
                       return outputsStarted && inputsStarted;
                   });
}

// All outputs are driven low at the start: what they were before is not known.
bool CIOBase::StartOutputs(std::uint32_t count)
{
    if (!outputThread_.StartQueue(ThreadName("Output")))
    {
        TellFailed("korvane::CIOBase::StartIO: Starting", "Output");
        return false;
    }
    for (std::uint32_t number = 0; number < count; ++number)
        outputThread_.PostItem(new COutputState{number, ipcapture::kSignalLow});
    return true;
}

bool CIOBase::StartInputs()
{
    const bool started = inputThread_.StartThreadWithFirstTick(ThreadName("Input"));
    if (!started)
        TellFailed("korvane::CIOBase::StartIO: Starting", "Input");
    return started;
}

void CIOBase::StopIO()
{
    if (gate_.IsInside())
        return StopFromInside();
    EndThreads(true);
    ResetStates();
}

void CIOBase::EndThreads(bool tellsFailure)
{
    outputThread_.StopEvent().Set();
    inputThread_.StopEvent().Set();
    const COneAtATime::Turn turn(turn_);
    const std::uint32_t timeoutMs = driver_->GetDeviceInfo().networkTimeoutMs;
    InterruptRequests();
    if (!outputThread_.StopQueue(timeoutMs) && tellsFailure)
        TellFailed("korvane::CIOBase::StopIO: Stopping", "Output");
    if (!inputThread_.JoinThread(timeoutMs) && tellsFailure)
        TellFailed("korvane::CIOBase::StopIO: Stopping", "Input");
}

// Both threads may be here at once, and another one may wait for them.
void CIOBase::StopFromInside()
{
    outputThread_.StopEvent().Set();
    inputThread_.StopEvent().Set();
    gate_.Shut();
    InterruptRequests();
    TellFailed("korvane::CIOBase::StopIO: Stopping",
               platform::Thread::CurrentId() == inputThreadId_ ? "Input" : "Output");
    ResetStates();
    const CLockGuard guard(lock_);
    untilThreadEnds_ = weak_from_this().lock();
}

void CIOBase::TellFailed(const char* what, const char* kind)
{
    driver_->DebugMessage(1, "%s of %s failed!", what, ThreadName(kind).c_str());
}

void CIOBase::LetGo()
{
    std::shared_ptr<CIOBase> last; // goes without the lock
    const CLockGuard guard(lock_);
    last.swap(untilThreadEnds_);
}

void CIOBase::ResetStates()
{
    const auto [inputs, outputs] = driver_->GetIOCounts();
    const CLockGuard guard(lock_);
    outputStates_.assign(outputs, ipcapture::kSignalUnknown);
    inputStates_.assign(inputs, ipcapture::kSignalUnknown);
}

// What a poll throws for want of memory is gone with it: the next one comes in 2 s.
void CIOBase::PollTick()
{
    inputThreadId_ = platform::Thread::CurrentId();
    Guarded(false, [this] { return Poll(); });
}

bool CIOBase::Poll()
{
    const bool polled = PollInputs(driver_->GetIOCounts().first);
    if (!polled)
        ResetStates();
    SetInputsConnectionState(polled);
    if (!polled)
        gate_.Tell(&ipcapture::IHostIOClient::ConnectionLost);
    return polled;
}

void CIOBase::SetInputsConnectionState(bool connected)
{
    // A failure that the stop itself caused is nobody's news.
    if (connected == inputsConnected_ || inputThread_.StopEvent().Wait(0))
        return;
    inputsConnected_ = connected;
    driver_->DebugMessage(connected ? 3 : 1,
                          "korvane::CIOBase::SetInputsConnectionState: Digital input connection (%s) %s",
                          DeviceText().c_str(), connected ? "is established" : "was lost");
}

// Whether the table has that number and held another state.
bool CIOBase::Store(States& states, std::uint32_t number, std::uint32_t state)
{
    const CLockGuard guard(lock_);
    return number < states.size() && std::exchange(states[number], state) != state;
}

void CIOBase::SetInputState(std::uint32_t number, std::uint32_t state)
{
    if (Store(inputStates_, number, state))
        gate_.Tell(&ipcapture::IHostIOClient::InputChanged, number, state);
}

bool CIOBase::SetOutput(std::uint32_t number, std::uint32_t state)
{
    auto* const item = new (std::nothrow) COutputState{number, state};
    if (item != nullptr && outputThread_.PostItem(item))
        return true;
    driver_->DebugMessage(1, "korvane::CIOBase::SetOutput: Set output #%u failed by %s", number,
                          DeviceText().c_str());
    return false;
}

void CIOBase::SetOutputStateWrapper(std::uint32_t number, std::uint32_t state)
{
    if (!Store(outputStates_, number, state))
        return;
    if (SetOutputState(number, state))
    {
        outputsWorking_ = true;
        return;
    }
    ResetStates();
    gate_.Tell(&ipcapture::IHostIOClient::ConnectionLost);
    if (outputsWorking_.exchange(false))
        driver_->DebugMessage(1,
                              "korvane::CIOBase::SetOutputStateWrapper: Unable to switch state of digital "
                              "output #%u (%s)",
                              number, DeviceText().c_str());
}

} // namespace korvane
