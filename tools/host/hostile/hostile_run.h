#pragma once

#include "host/base/console.h"
#include "host/base/process_usage.h"
#include "host/contract/driver_library.h"
#include "host/contract/fault_list.h"
#include "host/hostile/hostile_host.h"
#include "host/hostile/operation.h"
#include "host/hostile/trace_counter.h"

#include <atomic>
#include <functional>
#include <list>
#include <set>
#include <string>
#include <vector>

namespace larkmoor::host
{

using namespace korvane::ipcapture;

/// A thread that the driver gave up, and what it took with it.
struct GivenUpThread
{
    ProcessThread thread;
    std::string side;                 ///< the host that it last called; empty: none
    LastCall lastCall;                ///< of that host
    std::vector<std::uint32_t> holds; ///< bytes of each frame
};

/// What a run has shown.
struct HostileResult
{
    std::array<OperationCounts, kOperations.size()> operations{};
    std::array<PromiseCounts, kPromises.size()> promises{};
    std::vector<GivenUpThread> givenUp;
    std::uint64_t linesOfGivenUp = 0;  ///< "will be terminated!" in the log, of these threads
    std::uint64_t tracesOfGivenUp = 0; ///< "was given up" on standard error
    std::uint64_t linesOfOthers = 0;   ///< as the first, of threads that ended while the log took the line
    unsigned cycles = 0;               ///< carried out
    std::uint64_t starts = 0;          ///< channels started
    std::uint64_t threadsAtFirst = 0;
    std::uint64_t descriptorsAtFirst = 0;
    ProcessUsage before; ///< when what is made once for all had been made
    ProcessUsage after;
    double seconds = 0;
};

/// Many starts and stops of drivers by a host that stalls, throws and refuses, with books on all of it. It
/// ends whatever the driver does: a call that does not return in time ends the whole process, with a report.
class HostileRun
{
public:
    struct Plan
    {
        std::vector<Device> devices;
        unsigned cycles = 2000;
        unsigned atOnce = 32;
        std::uint64_t seed = 1;
        std::chrono::milliseconds longestStall{8000};
        std::chrono::milliseconds longestUse{40'000}; ///< now and then; a silent device is told after 20 s
    };

    /// All outlive the run.
    HostileRun(const DriverLibrary& library, const TraceCounter& traces, FaultList& faults, Console& console,
               const Plan& plan);

    HostileResult Run();

private:
    friend class HostileCycle;

    struct Worker // what it does now, for whoever looks after it
    {
        std::mutex lock; // over all below
        const char* doing = nullptr;
        const HostSide* side = nullptr;
        double since = 0;
    };
    struct Left // a host whose driver is gone
    {
        std::unique_ptr<HostileHost> host;
        double since = 0;
    };

    void RunCycles(unsigned first, unsigned end);
    void Work(Worker& worker, std::atomic<unsigned>& next, unsigned end);
    void LookAfter(std::list<Worker>& workers);
    [[noreturn]] void EndHanging(const char* doing, const HostSide& side, double seconds);
    void Count(Promise promise, double seconds, double own);
    void Leave(std::unique_ptr<HostileHost> host); // from now on nobody may call it
    void WaitUntilLeft();
    void Sweep();
    void Judge(HostileHost& host, const std::vector<ProcessThread>& halted);
    void JudgeProcess();

    const DriverLibrary& library_;
    const TraceCounter& traces_;
    FaultList& faults_;
    Console& console_;
    const Plan plan_;
    std::atomic<unsigned> done_{0}; // cycles
    std::atomic<std::uint64_t> starts_{0};
    std::atomic<unsigned> working_{0};
    std::mutex lock_; // over all below
    std::list<Left> left_;
    std::vector<std::unique_ptr<HostileHost>> lost_; // hosts that a thread never left
    std::set<pid_t> known_;                          // threads given up that a host was found for
    std::set<pid_t> announced_;                      // threads that the log says are given up
    HostileResult result_;
};

/// One start and stop of a driver with all that belongs to it, or one query. All its chances follow from the
/// seed of the run and its number. Its worker's thread.
class HostileCycle
{
public:
    HostileCycle(HostileRun& run, HostileRun::Worker& worker, unsigned number);

    void Do();

private:
    bool OneIn(unsigned count) { return Throw(dice_, 1, count) == 1; }
    void DoQuery();
    void DoDriver();
    void Start(IIPCaptureDriverEx4& driver);
    void StartVideo();
    void Use();
    void Stop();
    void Dwell(); // until a stall of the host has begun, and a little longer

    /// Makes a call and holds it against its promise.
    void Timed(Promise promise, const std::function<void()>& call);

    HostileRun& run_;
    HostileRun::Worker& worker_;
    Dice dice_;
    const Device device_;
    const bool isQuery_;
    std::unique_ptr<HostileHost> host_;
    IIPVideoCaptureEx* video_ = nullptr;
    IIPAudioCapture2* audio_ = nullptr; // null: not started, as below
    ICaptureIOApi* io_ = nullptr;
    IIPPTZApi* head_ = nullptr;
};

} // namespace larkmoor::host
