// What does a lock on the per-packet path cost when it is free, when its owner takes it again, and when
// threads fight for it, beside the lock of the standard library?

#include <mutex>

#include <benchmark/benchmark.h>

#include "runtime/recursive_lock.h"

namespace
{

using korvane::CLockGuard;
using korvane::CRecursiveLock;

void EnterAndLeave(benchmark::State& state)
{
    static CRecursiveLock lock;
    static std::uint64_t inside = 0;
    for (auto _ : state)
    {
        const CLockGuard guard(lock);
        benchmark::DoNotOptimize(++inside);
    }
}
BENCHMARK(EnterAndLeave)->Name("CRecursiveLock")->ThreadRange(1, 4)->UseRealTime();

void EnterAgain(benchmark::State& state)
{
    CRecursiveLock lock;
    const CLockGuard outer(lock);
    for (auto _ : state)
        const CLockGuard guard(lock);
}
BENCHMARK(EnterAgain)->Name("CRecursiveLock, by its owner");

void StandardLock(benchmark::State& state)
{
    static std::recursive_mutex lock;
    static std::uint64_t inside = 0;
    for (auto _ : state)
    {
        const std::lock_guard guard(lock);
        benchmark::DoNotOptimize(++inside);
    }
}
BENCHMARK(StandardLock)->Name("floor: std::recursive_mutex")->ThreadRange(1, 4)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
