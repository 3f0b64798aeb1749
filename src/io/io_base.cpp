#include "io/io_base.h"

#include "platform/thread.h"
#include "runtime/guarded.h"
#include "runtime/text.h"

#include <new>

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

std::string CIOBase::ThreadName(const char* kind) const
{
    return Utils::FormatString("Digital %s thread (%s / %s)", kind, driver_->GetDriverName().c_str(),
                               driver_->GetDeviceName().c_str());
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
    const std::string name = ThreadName("Output");
    if (!outputThread_.StartQueue(name))
    {
        driver_->DebugMessage(1, "korvane::CIOBase::StartIO: Starting of %s failed!", name.c_str());
        return false;
    }
    for (std::uint32_t number = 0; number < count; ++number)
        outputThread_.PostItem(new COutputState(number, ipcapture::kSignalLow));
    return true;
}

bool CIOBase::StartInputs()
{
    const std::string name = ThreadName("Input");
    if (inputThread_.StartThreadWithFirstTick(name))
        return true;
    driver_->DebugMessage(1, "korvane::CIOBase::StartIO: Starting of %s failed!", name.c_str());
    return false;
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
        TellStopFailed("Output");
    if (!inputThread_.JoinThread(timeoutMs) && tellsFailure)
        TellStopFailed("Input");
}

// Both threads may be here at once, and another one may wait for them.
void CIOBase::StopFromInside()
{
    outputThread_.StopEvent().Set();
    inputThread_.StopEvent().Set();
    gate_.Shut();
    InterruptRequests();
    TellStopFailed(platform::Thread::CurrentId() == inputThreadId_ ? "Input" : "Output");
    ResetStates();
    const CLockGuard guard(lock_);
    untilThreadEnds_ = weak_from_this().lock();
}

void CIOBase::TellStopFailed(const char* kind)
{
    driver_->DebugMessage(1, "korvane::CIOBase::StopIO: Stopping of %s failed!", ThreadName(kind).c_str());
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
    inputStates_.clear();
    outputStates_.clear();
    for (std::uint32_t number = 0; number < outputs; ++number)
        outputStates_[number] = ipcapture::kSignalUnknown;
    for (std::uint32_t number = 0; number < inputs; ++number)
        inputStates_[number] = ipcapture::kSignalUnknown;
}

void CIOBase::TellConnectionLost()
{
    gate_.Tell(&ipcapture::IHostIOClient::ConnectionLost);
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
        TellConnectionLost();
    return polled;
}

void CIOBase::SetInputsConnectionState(bool connected)
{
    // A failure that the stop itself caused is nobody's news.
    if (connected == inputsConnected_ || inputThread_.StopEvent().Wait(0))
        return;
    inputsConnected_ = connected;
    const std::string driver = driver_->GetDriverName();
    const std::string device = driver_->GetDeviceName();
    if (connected)
        driver_->DebugMessage(
            3,
            "korvane::CIOBase::SetInputsConnectionState: Digital input connection (%s / %s) "
            "is established",
            driver.c_str(), device.c_str());
    else
        driver_->DebugMessage(
            1,
            "korvane::CIOBase::SetInputsConnectionState: Digital input connection (%s / %s) "
            "was lost",
            driver.c_str(), device.c_str());
}

// Whether the table has that number and held another state.
bool CIOBase::Store(States& states, std::uint32_t number, std::uint32_t state)
{
    const CLockGuard guard(lock_);
    const auto found = states.find(number);
    if (found == states.end() || found->second == state)
        return false;
    found->second = state;
    return true;
}

void CIOBase::SetInputState(std::uint32_t number, std::uint32_t state)
{
    if (Store(inputStates_, number, state))
        gate_.Tell(&ipcapture::IHostIOClient::InputChanged, number, state);
}

bool CIOBase::SetOutput(std::uint32_t number, std::uint32_t state)
{
    auto* const item = new (std::nothrow) COutputState(number, state);
    if (item != nullptr && outputThread_.PostItem(item))
        return true;
    driver_->DebugMessage(1, "korvane::CIOBase::SetOutput: Set output #%u failed by %s / %s", number,
                          driver_->GetDriverName().c_str(), driver_->GetDeviceName().c_str());
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
    TellConnectionLost();
    if (outputsWorking_.exchange(false))
        driver_->DebugMessage(
            1,
            "korvane::CIOBase::SetOutputStateWrapper: Unable to switch state of digital output "
            "#%u (%s / %s)",
            number, driver_->GetDriverName().c_str(), driver_->GetDeviceName().c_str());
}

} // namespace korvane
