#include "host/hostile/hostile_run.h"

#include "host/base/failure.h"
#include "host/base/interrupt.h"
#include "host/base/stopwatch.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <thread>

namespace larkmoor::host
{

namespace
{

using std::chrono::milliseconds;

constexpr milliseconds kLook(200);
constexpr milliseconds kLineEvery(5000);
constexpr double kHangs = 120;     // seconds that no call takes, whatever the host does
constexpr double kLeaves = 60;     // seconds after which a thread never comes back from the host
constexpr unsigned kWarmingUp = 4; // this part of the cycles comes before the first look at the process
constexpr std::uint64_t kDescriptorsHeld = 4; // of a thread that was given up, at most
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
constexpr std::uint64_t kBytesHeld = 1u << 20;  // likewise: stack, picture in hand, connection
constexpr std::uint64_t kBytesGrown = 8u << 20; // beyond that: what the C library keeps
#endif

std::vector<ProcessThread> HaltedThreads()
{
    std::vector<ProcessThread> threads = ThreadsOfProcess();
    std::erase_if(threads, [](const ProcessThread& thread) { return !thread.isHalted; });
    return threads;
}

} // namespace

HostileRun::HostileRun(const DriverLibrary& library, const TraceCounter& traces, FaultList& faults,
                       Console& console, const Plan& plan)
    : library_(library), traces_(traces), faults_(faults), console_(console), plan_(plan)
{
}

void HostileRun::Count(Promise promise, double seconds, double own)
{
    const std::lock_guard guard(lock_);
    PromiseCounts& counts = result_.promises[static_cast<std::size_t>(promise)];
    ++counts.calls;
    counts.longest = std::max(counts.longest, seconds);
    counts.longestOwn = std::max(counts.longestOwn, own);
}

void HostileRun::Work(Worker& worker, std::atomic<unsigned>& next, unsigned end)
{
    for (unsigned number = next++; number < end && !Interrupt::Requested(); number = next++)
    {
        HostileCycle(*this, worker, number).Do();
        ++done_;
    }
    --working_;
}

void HostileRun::RunCycles(unsigned first, unsigned end)
{
    std::atomic<unsigned> next{first};
    std::list<Worker> workers(std::min(plan_.atOnce, end - first));
    working_ = static_cast<unsigned>(workers.size());
    std::vector<std::thread> threads;
    for (Worker& worker : workers)
        threads.emplace_back([this, &worker, &next, end] { Work(worker, next, end); });
    LookAfter(workers);
    for (std::thread& thread : threads)
        thread.join();
    WaitUntilLeft();
}

void HostileRun::LookAfter(std::list<Worker>& workers)
{
    while (working_ != 0)
    {
        std::this_thread::sleep_for(kLook);
        for (Worker& worker : workers)
        {
            const std::lock_guard guard(worker.lock);
            const double seconds = MonotonicSeconds() - worker.since;
            if (worker.doing != nullptr && seconds > kHangs)
                EndHanging(worker.doing, *worker.side, seconds);
        }
        Sweep();
        console_.Show({std::to_string(done_) + " of " + std::to_string(plan_.cycles) + " cycles, " +
                       std::to_string(faults_.Count()) + " faults"},
                      kLineEvery);
    }
}

// Nothing can be waited for any more: the process ends with what is known.
void HostileRun::EndHanging(const char* doing, const HostSide& side, double seconds)
{
    for (const std::string& text : faults_.Texts())
        console_.Line("contract broken: " + text);
    console_.Line("contract broken: " + side.Name() + ": " + doing + " has not returned for " +
                  std::to_string(static_cast<int>(seconds)) + " s");
    const std::vector<ProcessThread> halted = HaltedThreads();
    for (const auto& [id, call] : side.LastCalls())
    {
        if (!call.isUnderWay)
            continue;
        const bool isHalted = std::ranges::find(halted, id, &ProcessThread::id) != halted.end();
        console_.Line("thread " + std::to_string(id) + (isHalted ? " was halted" : " is") +
                      " in the host's " + TraitsOf(call.operation).name + " for " +
                      std::to_string(static_cast<int>(call.seconds)) + " s");
    }
    std::_Exit(static_cast<int>(ExitStatus::Contract));
}

void HostileRun::Leave(std::unique_ptr<HostileHost> host)
{
    const std::lock_guard guard(lock_);
    left_.push_back({std::move(host), MonotonicSeconds()});
}

void HostileRun::WaitUntilLeft()
{
    for (bool isDone = false; !isDone;)
    {
        Sweep();
        {
            const std::lock_guard guard(lock_);
            isDone = left_.empty();
        }
        if (!isDone)
            std::this_thread::sleep_for(kLook);
    }
}

// A thread that was given up in a call still returns from it: until then, and as long as another may follow
// against the contract, the host stays.
void HostileRun::Sweep()
{
    const std::vector<ProcessThread> halted = HaltedThreads();
    const double stays = std::chrono::duration<double>(plan_.longestStall).count() + 2;
    const double now = MonotonicSeconds();
    const std::lock_guard guard(lock_);
    for (auto it = left_.begin(); it != left_.end();)
    {
        const double age = now - it->since;
        const bool isLeft = it->host->side.IsLeft();
        if (age < stays || (!isLeft && age < kLeaves))
        {
            ++it;
            continue;
        }
        Judge(*it->host, halted);
        if (!isLeft)
            lost_.push_back(std::move(it->host));
        it = left_.erase(it);
    }
}

void HostileRun::Judge(HostileHost& host, const std::vector<ProcessThread>& halted)
{
    HostSide& side = host.side;
    const std::map<pid_t, LastCall> calls = side.LastCalls();
    std::vector<HeldFrame> held = host.allocator.Held();
    for (const ProcessThread& thread : halted)
    {
        const auto call = calls.find(thread.id);
        if (call == calls.end() || !known_.insert(thread.id).second)
            continue;
        GivenUpThread givenUp{thread, side.Name(), call->second, {}};
        for (const HeldFrame& frame : held)
            if (frame.thread == thread.id)
                givenUp.holds.push_back(frame.sizeBytes);
        std::erase_if(held, [&](const HeldFrame& frame) { return frame.thread == thread.id; });
        result_.givenUp.push_back(std::move(givenUp));
    }
    for (const HeldFrame& frame : held)
        side.Fault("a frame of " + std::to_string(frame.sizeBytes) + " bytes that thread " +
                   std::to_string(frame.thread) + " asked for was never released");
    for (const auto& [id, call] : calls)
        if (call.isUnderWay)
            side.Fault("thread " + std::to_string(id) + " never came back from the host's " +
                       TraitsOf(call.operation).name);
    for (const std::string& lock : side.LocksHeld())
        side.Fault("the host's lock of its " + lock + " stays locked");
    for (const auto& texts : {side.Faults(), host.allocator.Faults()})
        for (const std::string& text : texts)
            faults_.Add(side.Name() + ": " + text);
    const auto counts = side.Counts();
    for (std::size_t i = 0; i < counts.size(); ++i)
    {
        OperationCounts& sum = result_.operations[i];
        sum.calls += counts[i].calls;
        sum.stalls += counts[i].stalls;
        sum.throws += counts[i].throws;
        sum.refusals += counts[i].refusals;
    }
    const std::vector<pid_t> announced = host.sink.GivenUp();
    announced_.insert(announced.begin(), announced.end());
}

void HostileRun::JudgeProcess()
{
    for (const ProcessThread& thread : HaltedThreads())
        if (known_.insert(thread.id).second)
            result_.givenUp.push_back({thread, "", {}, {}});
    const std::uint64_t givenUp = result_.givenUp.size();
    for (const pid_t id : announced_)
        ++(known_.contains(id) ? result_.linesOfGivenUp : result_.linesOfOthers);
    result_.tracesOfGivenUp = traces_.Count();
    const auto differs = [&](const char* what, std::uint64_t are, std::uint64_t have)
    {
        if (are > have)
            faults_.Add(std::to_string(are) + ' ' + what + ", " + std::to_string(have) +
                        " are accounted for");
    };
    if (givenUp != result_.linesOfGivenUp + result_.tracesOfGivenUp)
        faults_.Add(std::to_string(givenUp) + " threads were given up, but there are " +
                    std::to_string(result_.linesOfGivenUp) + " lines and " +
                    std::to_string(result_.tracesOfGivenUp) + " traces of that");
    differs("threads", result_.after.threads, result_.threadsAtFirst + givenUp);
    differs("descriptors", result_.after.descriptors,
            result_.descriptorsAtFirst + kDescriptorsHeld * givenUp);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // which keep what was freed
    differs("bytes of heap and stacks", result_.after.privateBytes,
            result_.before.privateBytes + kBytesGrown + kBytesHeld * givenUp);
#endif
}

HostileResult HostileRun::Run()
{
    std::thread([] {}).join(); // a sanitizer starts a thread of its own with the process's first
    const ProcessUsage first = MeasureProcess();
    result_.threadsAtFirst = first.threads;
    result_.descriptorsAtFirst = first.descriptors;
    const double begin = MonotonicSeconds();
    const unsigned warmingUp = plan_.cycles / kWarmingUp;
    RunCycles(0, warmingUp);
    result_.before = MeasureProcess();
    RunCycles(warmingUp, plan_.cycles);
    result_.after = MeasureProcess();
    console_.Finish();
    result_.seconds = MonotonicSeconds() - begin;
    result_.starts = starts_;
    result_.cycles = done_;
    JudgeProcess();
    return result_;
}

} // namespace larkmoor::host
