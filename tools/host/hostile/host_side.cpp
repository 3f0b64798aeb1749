#include "host/hostile/host_side.h"

#include <algorithm>
#include <thread>
#include <utility>

#include <sys/syscall.h>
#include <unistd.h>

namespace larkmoor::host
{

namespace
{

constexpr std::size_t kKeptFaults = 100;
constexpr unsigned kPicturesInStop = 2;
constexpr const char* kResourceNames[kResources] = {"log", "pool", "disk", "settings"};

pid_t CurrentThread()
{
    return static_cast<pid_t>(syscall(SYS_gettid));
}

} // namespace

HostSide::Visit::Visit(HostSide& side, Operation operation) : side_(side), operation_(operation)
{
    side.Enter(*this);
    side.LockOf(operation).lock();
    if (deed_.stall.count() != 0)
        std::this_thread::sleep_for(deed_.stall);
    if (!deed_.throws)
        return;
    side.LockOf(operation).unlock();
    side.Leave(*this);
    throw HostException{1};
}

HostSide::Visit::~Visit()
{
    side_.LockOf(operation_).unlock();
    side_.Leave(*this);
}

HostSide::HostSide(std::string name, std::vector<Deed> plan) : name_(std::move(name)), plan_(std::move(plan))
{
}

void HostSide::Enter(Visit& visit)
{
    const Operation operation = visit.operation_;
    const OperationTraits& traits = TraitsOf(operation);
    const Clock::time_point now = visit.begin_;
    Deed& todo = visit.deed_;
    const std::lock_guard guard(books_);
    if (!isExpected_[static_cast<std::size_t>(traits.party)])
        NoteFault(std::string(traits.name) + " was called when no call was to come any more");
    Record& record = records_[CurrentThread()];
    if (operation == Operation::AllocateVideoFrame || !isStopping_)
        record.holdsUp = !isStopping_ || ++pictures_ <= kPicturesInStop;
    record = {operation, now, now, true, record.holdsUp};
    visit.holdsUp_ = record.holdsUp;
    if (visit.holdsUp_ && holdingUp_++ == 0)
        busySince_ = now;
    OperationCounts& counts = counts_[static_cast<std::size_t>(operation)];
    ++counts.calls;
    for (const Deed& deed : plan_)
    {
        if (deed.operation != operation || counts.calls < deed.first || counts.calls > deed.last)
            continue;
        todo.stall = std::max(todo.stall, deed.stall);
        todo.throws = todo.throws || deed.throws;
        todo.refuses = todo.refuses || deed.refuses;
    }
    counts.stalls += todo.stall.count() != 0 ? 1 : 0;
    counts.throws += todo.throws ? 1 : 0;
    counts.refusals += todo.refuses && !todo.throws ? 1 : 0;
    if (todo.stall.count() != 0)
    {
        ++stallsBegun_;
        stalled_.notify_all();
    }
}

void HostSide::Leave(const Visit& visit)
{
    const Clock::time_point now = Clock::now();
    const std::lock_guard guard(books_);
    Record& record = records_[CurrentThread()];
    record.end = now;
    record.isUnderWay = false;
    if (visit.holdsUp_ && --holdingUp_ == 0)
        busy_ += now - busySince_;
}

void HostSide::Fault(const std::string& text)
{
    const std::lock_guard guard(books_);
    NoteFault(text);
}

void HostSide::NoteFault(const std::string& text)
{
    if (faults_.size() < kKeptFaults && std::ranges::find(faults_, text) == faults_.end())
        faults_.push_back(text);
}

void HostSide::SetExpected(Party party, bool isExpected)
{
    const std::lock_guard guard(books_);
    isExpected_[static_cast<std::size_t>(party)] = isExpected;
}

std::chrono::duration<double> HostSide::Busy() const
{
    const std::lock_guard guard(books_);
    return holdingUp_ == 0 ? busy_ : busy_ + (Clock::now() - busySince_);
}

void HostSide::SetStopping(bool isStopping)
{
    const std::lock_guard guard(books_);
    isStopping_ = isStopping;
    pictures_ = 0;
}

std::uint64_t HostSide::Calls(Operation operation) const
{
    const std::lock_guard guard(books_);
    return counts_[static_cast<std::size_t>(operation)].calls;
}

bool HostSide::WaitForStall(std::chrono::milliseconds patience) const
{
    std::unique_lock guard(books_);
    const unsigned before = stallsBegun_;
    return stalled_.wait_for(guard, patience, [&] { return stallsBegun_ != before; });
}

std::array<OperationCounts, kOperations.size()> HostSide::Counts() const
{
    const std::lock_guard guard(books_);
    return counts_;
}

std::map<pid_t, LastCall> HostSide::LastCalls() const
{
    const Clock::time_point now = Clock::now();
    const std::lock_guard guard(books_);
    std::map<pid_t, LastCall> calls;
    for (const auto& [thread, record] : records_)
    {
        const std::chrono::duration<double> took = (record.isUnderWay ? now : record.end) - record.begin;
        calls[thread] = {record.operation, took.count(), record.isUnderWay};
    }
    return calls;
}

std::vector<std::string> HostSide::Faults() const
{
    const std::lock_guard guard(books_);
    return faults_;
}

bool HostSide::IsLeft() const
{
    const std::lock_guard guard(books_);
    return std::ranges::none_of(records_, [](const auto& each) { return each.second.isUnderWay; });
}

std::vector<std::string> HostSide::LocksHeld()
{
    std::vector<std::string> held;
    for (std::size_t i = 0; i < kResources; ++i)
    {
        if (locks_[i].try_lock())
            locks_[i].unlock();
        else
            held.push_back(kResourceNames[i]);
    }
    return held;
}

} // namespace larkmoor::host
