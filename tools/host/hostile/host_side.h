#pragma once

#include "host/hostile/operation.h"

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <type_traits>
#include <vector>

#include <sys/types.h>

namespace larkmoor::host
{

/// What a host throws into the driver; no class that the driver knows.
struct HostException
{
    int number = 0;
};

/// How often the driver called, and what came of it.
struct OperationCounts
{
    std::uint64_t calls = 0;
    std::uint64_t stalls = 0;
    std::uint64_t throws = 0;
    std::uint64_t refusals = 0;
};

/// The last call that a thread of the driver made.
struct LastCall
{
    Operation operation = Operation::WriteMessage;
    double seconds = 0; ///< that it took; since its beginning while it is under way
    bool isUnderWay = false;
};

/// The host of one driver or query, with its plan of what to do to it. It carries out the plan, and keeps
/// books on every call: which thread is in it, whether one came that must not come any more, and how long the
/// host itself held the driver up. A call holds the host's lock of its resource from its beginning to its
/// end, stalls included, as that of a frame pool or a log does. Any thread.
class HostSide
{
public:
    HostSide(std::string name, std::vector<Deed> plan);

    /// A call of the driver: stalls, throws or refuses as the plan has it; else does `body`.
    template <typename Result, typename Body>
    Result Call(Operation operation, Result refusal, const Body& body)
    {
        const Visit visit(*this, operation);
        return visit.Refuses() ? refusal : static_cast<Result>(body());
    }
    template <typename Body>
    void Call(Operation operation, const Body& body)
    {
        const Visit visit(*this, operation);
        body();
    }

    /// A call that asks for what the host has at hand.
    template <typename Result>
    Result Answer(Operation operation, Result answer, std::type_identity_t<Result> refusal = {})
    {
        return Visit(*this, operation).Refuses() ? refusal : answer;
    }

    /// A call that only tells the host something.
    void Hear(Operation operation) { const Visit visit(*this, operation); }

    void Fault(const std::string& text);                    ///< the driver did what it must not do
    void Expect(Party party) { SetExpected(party, true); }  ///< calls on it may come from now on
    void Forbid(Party party) { SetExpected(party, false); } ///< none may; those under way end by themselves

    /// How long this host has held the driver up until now; calls at the same time count once.
    std::chrono::duration<double> Busy() const;
    std::uint64_t Calls(Operation operation) const;

    /// During a stop no more than the picture in hand and the next one hold the driver up: it has to look at
    /// the stop between two pictures.
    void SetStopping(bool isStopping);

    /// Waits until a stall of the plan has begun; false if none does.
    bool WaitForStall(std::chrono::milliseconds patience) const;

    const std::string& Name() const { return name_; }
    std::array<OperationCounts, kOperations.size()> Counts() const;
    std::map<pid_t, LastCall> LastCalls() const;
    std::vector<std::string> Faults() const; ///< each once, the first hundred
    bool IsLeft() const;                     ///< no call is under way

    /// The locks that cannot be taken although nobody is in the host.
    std::vector<std::string> LocksHeld();

private:
    using Clock = std::chrono::steady_clock;

    class Visit
    {
    public:
        Visit(HostSide& side, Operation operation);
        ~Visit();
        Visit(const Visit&) = delete;
        Visit& operator=(const Visit&) = delete;

        bool Refuses() const { return deed_.refuses; }

    private:
        friend class HostSide;

        HostSide& side_;
        const Clock::time_point begin_ = Clock::now();
        Operation operation_;
        Deed deed_;
        bool holdsUp_ = true; // counts for `busy_`
    };
    struct Record
    {
        Operation operation{};
        Clock::time_point begin, end;
        bool isUnderWay = false;
        bool holdsUp = true; // its calls count for `busy_`
    };

    void Enter(Visit& visit); // books the beginning of a call, and says what is done to it
    void Leave(const Visit& visit);
    void NoteFault(const std::string& text); // `books_` is held
    void SetExpected(Party party, bool isExpected);
    std::mutex& LockOf(Operation operation)
    {
        return locks_[static_cast<std::size_t>(TraitsOf(operation).resource)];
    }

    const std::string name_;
    const std::vector<Deed> plan_;
    std::array<std::mutex, kResources>
        locks_;                // the host's own; taken before `books_`, which is never held long
    mutable std::mutex books_; // over all below
    mutable std::condition_variable stalled_;
    std::array<bool, kParties> isExpected_{};
    std::array<OperationCounts, kOperations.size()> counts_{};
    std::map<pid_t, Record> records_;
    std::vector<std::string> faults_;
    unsigned holdingUp_ = 0; // calls under way that count for `busy_`
    unsigned stallsBegun_ = 0;
    bool isStopping_ = false;
    unsigned pictures_ = 0; // begun since the stop
    Clock::time_point busySince_;
    Clock::duration busy_{};
};

} // namespace larkmoor::host
