// What do events cost that are touched for every packet: a set that nobody waits for, a look, a look at two;
// and how long does a thread take to wake and answer, beside a futex-based semaphore of the standard library?

#include <semaphore>
#include <thread>

#include <benchmark/benchmark.h>

#include "runtime/event.h"

namespace
{

using korvane::CEvent;
using korvane::CManualEvent;
using korvane::kWaitForever;

void SetAndTake(benchmark::State& state)
{
    CEvent event(false);
    for (auto _ : state)
    {
        event.Set();
        benchmark::DoNotOptimize(event.Wait(0));
    }
}
BENCHMARK(SetAndTake)->Name("Set and take, nobody waits");

void LookAtTwo(benchmark::State& state)
{
    CManualEvent stop;
    CEvent data(false);
    CEvent* const events[] = {&stop, &data};
    for (auto _ : state)
        benchmark::DoNotOptimize(CEvent::WaitForAny(events, 2, 0));
}
BENCHMARK(LookAtTwo)->Name("WaitForAny on two, time-out 0");

void PingPong(benchmark::State& state)
{
    CManualEvent stop;
    CEvent ping(false);
    CEvent pong(false);
    std::thread other(
        [&]
        {
            CEvent* const events[] = {&stop, &ping};
            while (CEvent::WaitForAny(events, 2, kWaitForever) == 1)
                pong.Set();
        });
    for (auto _ : state)
    {
        ping.Set();
        pong.Wait(kWaitForever);
    }
    stop.Set();
    other.join();
}
BENCHMARK(PingPong)->Name("round trip between threads")->UseRealTime();

void SemaphorePingPong(benchmark::State& state)
{
    std::binary_semaphore ping(0);
    std::binary_semaphore pong(0);
    bool isOver = false;
    std::thread other(
        [&]
        {
            for (ping.acquire(); !isOver; ping.acquire())
                pong.release();
        });
    for (auto _ : state)
    {
        ping.release();
        pong.acquire();
    }
    isOver = true;
    ping.release();
    other.join();
}
BENCHMARK(SemaphorePingPong)->Name("floor: round trip, std::binary_semaphore")->UseRealTime();

} // namespace

BENCHMARK_MAIN();
