#include "platform/thread.h"

#include <csignal>
#include <cstring>
#include <dlfcn.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

#include "platform/held_locks.h"
#include "platform/posix/futex.h"
#include "platform/posix/thread_state.h"
#include "platform/reserve.h"

namespace korvane::platform
{

namespace
{

// In the thread's fixed block: a library that is loaded late would otherwise allocate them at first use, in
// the middle of whatever the thread does then.
[[gnu::tls_model("initial-exec")]] thread_local ThreadState* currentState = nullptr;
[[gnu::tls_model("initial-exec")]] thread_local std::uint32_t currentId = 0;

constexpr std::size_t kNameBytes = 16; // of the system, with the closing zero

// The host's handlers of asynchronous signals are not written to run on the driver's threads. Real-time
// signals stay open: one of them is the halt signal.
sigset_t SignalsToBlock()
{
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGALRM, SIGTERM, SIGUSR1, SIGUSR2, SIGCHLD,
                             SIGTSTP, SIGTTIN, SIGTTOU, SIGURG, SIGVTALRM, SIGWINCH, SIGIO})
        sigaddset(&set, signal);
    return set;
}

// A real-time signal that nobody in the process handles yet, from the highest down; 0 if there is none.
int FindFreeSignal()
{
    for (int signal = SIGRTMAX; signal >= SIGRTMIN; --signal)
    {
        struct sigaction action = {};
        if (sigaction(signal, nullptr, &action) == 0 && (action.sa_flags & SA_SIGINFO) == 0 &&
            action.sa_handler == SIG_DFL)
            return signal;
    }
    return 0;
}

// A halted thread stands in the middle of this library's code, which must stay where it is even when the host
// unloads the library. In a program that has it built in there is nothing to do, and nothing happens.
void KeepLibraryMapped()
{
    Dl_info where = {};
    if (dladdr(reinterpret_cast<const void*>(&KeepLibraryMapped), &where) != 0)
        dlopen(where.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
}

} // namespace

ThreadState* ThreadState::Current()
{
    return currentState;
}

ThreadState* ThreadState::CurrentUnlessAway()
{
    return currentState == nullptr || currentState->awayDepth_ != 0 ? nullptr : currentState;
}

void ThreadState::EnterAway()
{
    if (awayDepth_++ != 0)
        return;
    std::uint32_t expected = kInside;
    if (!phase_.compare_exchange_strong(expected, kAway, std::memory_order_acq_rel))
        SleepForGood();
}

void ThreadState::LeaveAway()
{
    if (--awayDepth_ != 0)
        return; // in the host's code, which has called the driver: a lock of the host's may be held here
    std::uint32_t expected = kAway;
    if (!phase_.compare_exchange_strong(expected, kInside, std::memory_order_acq_rel))
        SleepForGood();
}

void ThreadState::SleepForGood()
{
    // No handler may bring the thread back to code that may have been freed or unmapped.
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, nullptr);
    ThreadState& self = *currentState;
    self.phase_.store(kHalted, std::memory_order_release);
    posix::FutexWakeAll(&self.phase_);
    for (;;)
        pause();
}

void ThreadState::OnHaltSignal(int)
{
    if (currentState != nullptr && currentState->IsGivenUp())
        SleepForGood();
}

void ThreadState::HaltBySignal()
{
    static const int signal = []
    {
        const int found = FindFreeSignal();
        struct sigaction action = {};
        action.sa_handler = &ThreadState::OnHaltSignal;
        sigfillset(&action.sa_mask);
        return found != 0 && sigaction(found, &action, nullptr) == 0 ? found : 0;
    }();
    if (signal == 0 || pthread_kill(handle, signal) != 0)
        return;
    // A signal comes before the thread's next instruction, but for one that runs right now on another
    // processor: that one is given the time to notice.
    posix::FutexWait(phase_, kGivenUp, 1000);
}

bool ThreadState::GiveUp()
{
    std::uint32_t phase = phase_.load(std::memory_order_acquire);
    for (;;)
    {
        if (phase >= kGivenUp)
            return phase != kEnded;
        // A thread that is away halts at the end of its scope: for the driver it has halted now.
        const std::uint32_t next = phase == kAway ? kHalted : kGivenUp;
        if (phase_.compare_exchange_weak(phase, next, std::memory_order_acq_rel))
            break;
    }
    if (phase != kAway && !posix::FutexWait(phase_, kGivenUp, Thread::kGiveUpMs))
        HaltBySignal();
    return phase_.load(std::memory_order_acquire) != kEnded; // it may have come to its end meanwhile
}

void* ThreadState::Run(void* statePointer)
{
    // On the stack: a halted thread never lets go of its state.
    const std::unique_ptr<std::shared_ptr<ThreadState>> holder(
        static_cast<std::shared_ptr<ThreadState>*>(statePointer));
    ThreadState& state = **holder;
    currentState = &state;
    state.id.store(Thread::CurrentId(), std::memory_order_release);
    state.id.notify_all();
    std::uint32_t exitCode = 0;
    try
    {
        state.begin_.Wait(kInfinite);
        if (state.entry_ != nullptr)
            exitCode = state.entry_(state.context_);
    }
    catch (...)
    {
        // whatever it was, the host's process goes on
    }
    state.exitCode.store(exitCode, std::memory_order_relaxed);
    if (state.phase_.exchange(kEnded, std::memory_order_acq_rel) == kGivenUp)
        posix::FutexWakeAll(&state.phase_); // given up, but at the end by itself
    currentState = nullptr;
    state.ended.Set();
    return nullptr;
}

std::shared_ptr<ThreadState> ThreadState::Launch()
{
    auto state = std::make_shared<ThreadState>(); // before the thread runs: it may ask for itself
    auto holder = std::make_unique<std::shared_ptr<ThreadState>>(state);
    const sigset_t blocked = SignalsToBlock();
    sigset_t before;
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    const bool started = pthread_create(&state->handle, nullptr, &ThreadState::Run, holder.get()) == 0;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (!started)
    {
        Reserve::Note(Shortage::kThreads);
        return nullptr;
    }
    static_cast<void>(holder.release()); // the thread's now
    return state;
}

void ThreadState::Begin(Thread::Entry entry, void* context, const char* name)
{
    char shortName[kNameBytes] = {};
    std::strncpy(shortName, name == nullptr ? "" : name, kNameBytes - 1);
    pthread_setname_np(handle, shortName);
    entry_ = entry;
    context_ = context;
    begin_.Set();
}

void ThreadState::Dismiss()
{
    begin_.Set();
    pthread_join(handle, nullptr);
}

bool Thread::Start(Entry entry, void* context, const char* name)
{
    if (state_ != nullptr || entry == nullptr)
        return false;
    state_ = Reserve::TakeThread();
    if (state_ == nullptr)
        state_ = ThreadState::Launch();
    if (state_ == nullptr)
        return false;
    state_->Begin(entry, context, name);
    return true;
}

std::uint32_t Thread::Id() const
{
    if (state_ == nullptr)
        return 0;
    state_->id.wait(0, std::memory_order_acquire);
    return state_->id.load(std::memory_order_acquire);
}

WaitResult Thread::Wait(std::uint32_t timeoutMs)
{
    if (state_ == nullptr)
        return WaitResult::kFailed;
    if (state_->IsGivenUp())
        return WaitResult::kSignalled;
    return state_->ended.Wait(timeoutMs) ? WaitResult::kSignalled : WaitResult::kTimeout;
}

std::uint32_t Thread::ExitCode() const
{
    return state_ == nullptr ? 0 : state_->exitCode.load(std::memory_order_relaxed);
}

bool Thread::GiveUp()
{
    if (state_ == nullptr || ThreadState::Current() == state_.get())
        return false;
    KeepLibraryMapped();
    return state_->GiveUp();
}

void Thread::Close()
{
    if (state_ == nullptr)
        return;
    // Joining one that has ended gives its stack back at once; the others let go of it when they end.
    if (state_->ended.Wait(0))
        pthread_join(state_->handle, nullptr);
    else
        pthread_detach(state_->handle);
    state_.reset();
}

std::uint32_t Thread::CurrentId()
{
    if (currentId == 0)
        currentId = static_cast<std::uint32_t>(syscall(SYS_gettid));
    return currentId;
}

ThreadMark ThreadMark::Current()
{
    ThreadMark mark;
    mark.id_ = Thread::CurrentId();
    if (ThreadState* const state =
            ThreadState::CurrentUnlessAway()) // a call from inside the host's is its own
        mark.state_ = state->shared_from_this();
    return mark;
}

bool ThreadMark::IsGivenUp() const
{
    return state_ != nullptr && state_->IsGivenUp();
}

AwayScope::AwayScope() : state_(ThreadState::Current())
{
    HeldLocks::CheckWait();
    if (state_ != nullptr)
        state_->EnterAway();
}

AwayScope::~AwayScope()
{
    if (state_ != nullptr)
        state_->LeaveAway();
}

} // namespace korvane::platform
