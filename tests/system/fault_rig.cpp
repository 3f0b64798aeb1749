#include "system/fault_rig.h"

#include "support/loopback.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <exception>
#include <optional>
#include <semaphore>
#include <thread>

namespace larkmoor::test
{

using namespace std::chrono_literals;
using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

namespace
{

constexpr std::size_t kFewFrames = 10;
constexpr milliseconds kSilence = 3s; // without a frame: far above the distance of two
// As many as two processors can carry under the thread sanitizer without a stream being lost to the load.
constexpr std::ptrdiff_t kRowsAtOnce = 8;
constexpr const char* kPassword = "lark-and-moor";

struct Outcome
{
    std::string problems;
    bool isBusyMachine = true; // may be the only reason of the problems
    Comparison seen;
    milliseconds runningBack{};
    milliseconds startingBack{};
    milliseconds longestStop{};
    milliseconds all{};
};

milliseconds Since(Clock::time_point begin)
{
    return std::chrono::duration_cast<milliseconds>(Clock::now() - begin);
}

/// One row, on a thread of its own.
class Drill
{
public:
    Drill(const FaultRow& row, const camera::CameraOptions& base, host::Codec codec,
          host::Transport transport)
        : row_(row),
          camera_(Options(row, base, codec)),
          running_(camera_.Device(codec, transport)),
          starting_(camera_.Device(codec, transport))
    {
    }

    Outcome Run()
    {
        const Clock::time_point begin = Clock::now();
        Expect(running_.Start() && running_.WaitForFrames(kFewFrames), "no frames from a healthy camera");
        camera_.Play(row_.faults);
        Expect(starting_.Start(), "the second channel doesn't start");
        Expect(Shows(running_, row_.running), "the running stream did otherwise, state " +
                                                  std::to_string(running_.State()) + ", frames " +
                                                  std::to_string(running_.FrameCount()));
        Expect(Shows(starting_, row_.starting), "the starting stream did otherwise, state " +
                                                    std::to_string(starting_.State()) + ", frames " +
                                                    std::to_string(starting_.FrameCount()));
        camera_.End(row_.faults);
        AwaitReturn();
        for (TestHost* host : {&running_, &starting_})
        {
            outcome_.longestStop = std::max(outcome_.longestStop, host->Stop());
            Expect(host->State() == 3, "not stopped");
            const std::string broken = host->Close();
            Expect(broken.empty(), "contract: " + broken);
            outcome_.isBusyMachine &= broken.empty();
            outcome_.seen += Compare(host->Frames(), camera_);
        }
        Expect(outcome_.longestStop < korvane::test::kStopBound,
               "a stop took " + std::to_string(outcome_.longestStop.count()));
        Expect(outcome_.seen.foreign == 0, "foreign frames: " + std::to_string(outcome_.seen.foreign));
        Expect(!row_.exact || outcome_.seen.exact == outcome_.seen.frames, "frames that aren't exact");
        outcome_.isBusyMachine &= outcome_.seen.foreign == 0;
        outcome_.all = Since(begin);
        return outcome_;
    }

private:
    static camera::CameraOptions Options(const FaultRow& row, camera::CameraOptions options,
                                         host::Codec codec)
    {
        options.auth = row.auth;
        options.password = kPassword;
        options.faults = row.always;
        options.parameters.insert(options.parameters.end(), row.parameters.begin(), row.parameters.end());
        if (codec != host::Codec::Mjpeg)
            options.truthUnits = Rig::NewFile("units.jsonl");
        return options;
    }

    void Expect(bool holds, const std::string& problem)
    {
        if (!holds)
            outcome_.problems += "\n  " + problem;
    }

    bool Shows(TestHost& host, Effect effect) const
    {
        const std::size_t before = host.FrameCount();
        switch (effect)
        {
        case Effect::GoesOn:
            return &host == &starting_ ? host.WaitForFrames(before + row_.frames) : GoesOn(host, before);
        case Effect::Recovers:
            return (&host == &starting_ || host.WaitForState(2)) &&
                   host.WaitForFrames(host.FrameCount() + kFewFrames) && host.WaitForState(0);
        case Effect::Lost:
            return host.WaitForState(2);
        case Effect::Quiet:
            return FallsSilent(host);
        }
        return false;
    }

    bool GoesOn(TestHost& host, std::size_t before) const
    {
        const Clock::time_point begin = Clock::now();
        while (!host.WaitForFrames(before + row_.frames, 10ms))
        {
            if (host.State() != 0 || Since(begin) > kPatience)
                return false;
        }
        return true;
    }

    bool FallsSilent(const TestHost& host) const
    {
        const Clock::time_point begin = Clock::now();
        while (host.WaitForFrames(host.FrameCount() + 1, kSilence)) // frames that were on their way
        {
            if (Since(begin) > kPatience)
                return false;
        }
        return &host != &starting_ || host.FrameCount() == 0;
    }

    void AwaitReturn()
    {
        const Clock::time_point end = Clock::now();
        const std::size_t runningBefore = running_.FrameCount();
        const std::size_t startingBefore = starting_.FrameCount();
        Expect(running_.WaitForFrames(runningBefore + kFewFrames), "the running stream doesn't come back");
        outcome_.runningBack = Since(end);
        Expect(starting_.WaitForFrames(startingBefore + kFewFrames), "the starting stream doesn't come back");
        outcome_.startingBack = Since(end);
        Expect(running_.WaitForState(0) && starting_.WaitForState(0), "not in state 0 at the end");
    }

    const FaultRow& row_;
    Outcome outcome_;
    TestCamera camera_;
    TestHost running_;
    TestHost starting_;
};

Outcome Play(const FaultRow& row, const camera::CameraOptions& base, host::Codec codec,
             host::Transport transport)
try
{
    return Drill(row, base, codec, transport).Run();
}
catch (const std::exception& problem)
{
    Outcome outcome;
    outcome.problems = problem.what();
    return outcome;
}

} // namespace

void PlayRows(const std::vector<FaultRow>& rows, const camera::CameraOptions& base, host::Codec codec,
              host::Transport transport)
{
    Rig::Use(transport);
    std::vector<Outcome> outcomes(rows.size());
    std::counting_semaphore places(kRowsAtOnce);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < rows.size(); ++i)
    {
        places.acquire();
        threads.emplace_back(
            [&, i]
            {
                outcomes[i] = Play(rows[i], base, codec, transport);
                places.release();
            });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (std::size_t i = 0; i < rows.size(); ++i) // what so many at once made fail doesn't fail alone
    {
        if (outcomes[i].problems.empty() || !outcomes[i].isBusyMachine)
            continue;
        std::printf("once more, alone: %s%s\n", rows[i].faults, outcomes[i].problems.c_str());
        outcomes[i] = Play(rows[i], base, codec, transport);
    }

    std::printf("%-44s %8s %8s %6s %6s %6s %6s %6s %6s\n", "fault", "back ms", "(new)", "stop", "all",
                "frames", "whole", "part", "strange");
    for (std::size_t i = 0; i < rows.size(); ++i)
    {
        const Outcome& outcome = outcomes[i];
        std::printf("%-44s %8lld %8lld %6lld %6lld %6zu %6zu %6zu %6zu\n", rows[i].faults,
                    static_cast<long long>(outcome.runningBack.count()),
                    static_cast<long long>(outcome.startingBack.count()),
                    static_cast<long long>(outcome.longestStop.count()),
                    static_cast<long long>(outcome.all.count()), outcome.seen.frames, outcome.seen.whole,
                    outcome.seen.part, outcome.seen.foreign);
        EXPECT_EQ(outcome.problems, "") << rows[i].faults << ": " << rows[i].why;
    }
}

} // namespace larkmoor::test
