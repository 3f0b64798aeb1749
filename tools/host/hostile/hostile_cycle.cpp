#include "host/hostile/hostile_run.h"

#include "host/base/interrupt.h"
#include "host/base/stopwatch.h"

#include <algorithm>
#include <cstdio>
#include <thread>

namespace larkmoor::host
{

using namespace korvane::ipcapture;
using std::chrono::milliseconds;

namespace
{

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr double kSlack = 6; // seconds that a machine with so much to do at once may take of its own
#else
constexpr double kSlack = 2;
#endif

constexpr unsigned kUsualDwellMs = 4000;
constexpr PictureSize kSizes[] = {{320, 240}, {176, 144}};

Dice DiceOf(std::uint64_t seed, unsigned number)
{
    std::seed_seq seeds{static_cast<std::uint32_t>(seed), static_cast<std::uint32_t>(seed >> 32), number};
    return Dice(seeds);
}

std::string Seconds(double seconds)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.1f s", seconds);
    return text;
}

} // namespace

HostileCycle::HostileCycle(HostileRun& run, HostileRun::Worker& worker, unsigned number)
    : run_(run),
      worker_(worker),
      dice_(DiceOf(run.plan_.seed, number)),
      device_(run.plan_.devices[number % run.plan_.devices.size()]),
      isQuery_(OneIn(10)),
      host_(std::make_unique<HostileHost>("cycle " + std::to_string(number),
                                          MakePlan(dice_, isQuery_, run.plan_.longestStall)))
{
}

void HostileCycle::Timed(Promise promise, const std::function<void()>& call)
{
    const PromiseTraits& traits = TraitsOf(promise);
    const double busy = host_->side.Busy().count();
    const double begin = MonotonicSeconds();
    {
        const std::lock_guard guard(worker_.lock);
        worker_.doing = traits.name;
        worker_.side = &host_->side;
        worker_.since = begin;
    }
    try
    {
        call();
    }
    catch (...)
    {
        host_->side.Fault(std::string("an exception came out of ") + traits.name);
    }
    const double took = MonotonicSeconds() - begin;
    const double stalled = host_->side.Busy().count() - busy;
    {
        const std::lock_guard guard(worker_.lock);
        worker_.doing = nullptr;
    }
    const double own = std::chrono::duration<double>(traits.own).count();
    const double most = std::chrono::duration<double>(traits.most).count();
    if (took > (most == 0 ? own + stalled : std::min(own + stalled, most)) + kSlack)
        host_->side.Fault(std::string(traits.name) + " took " + Seconds(took) + "; the host stalled " +
                          Seconds(stalled) + " of it");
    run_.Count(promise, took, took - stalled);
}

void HostileCycle::Do()
{
    if (isQuery_)
        DoQuery();
    else
        DoDriver();
    run_.Leave(std::move(host_));
}

void HostileCycle::Dwell()
{
    const auto longest = static_cast<unsigned>(run_.plan_.longestUse.count());
    if (OneIn(40))
        Interrupt::WaitFor(milliseconds(Throw(dice_, longest / 2, longest)));
    else
        host_->side.WaitForStall(milliseconds(Throw(dice_, 0, std::min(longest, kUsualDwellMs))));
    std::this_thread::sleep_for(milliseconds(Throw(dice_, 0, 200)));
}

void HostileCycle::DoQuery()
{
    HostSide& side = host_->side;
    side.Expect(Party::Query);
    IIPCapabilityQuery* const module = run_.library_.createCapabilityQueryModule(&host_->querySink, 1);
    if (module == nullptr)
        return side.Fault("no query module was made");
    Timed(Promise::Order,
          [&]
          {
              if (module->StartQuery(device_.address.c_str(), device_.port, "root", "", &host_->store) != 1)
                  host_->side.Fault("a query was not started");
          });
    Dwell();
    if (OneIn(2))
        Timed(Promise::Order, [&] { module->TerminateQuery(); });
    Timed(Promise::DeleteQuery, [&] { run_.library_.deleteCapabilityQueryModule(module); });
    side.Forbid(Party::Query);
}

void HostileCycle::DoDriver()
{
    HostSide& side = host_->side;
    IIPCaptureDriverEx4* const driver = run_.library_.createIPCaptureEx4();
    if (driver == nullptr)
        return side.Fault("no driver was made");
    HostileDeviceSettings settings(side, device_);
    bool isOpen = false;
    side.Expect(Party::Driver);
    side.Expect(Party::Device);
    Timed(Promise::Open, [&] { isOpen = driver->Open(&host_->sink, &host_->allocator, &settings); });
    side.Forbid(Party::Device);
    if (isOpen)
    {
        Start(*driver);
        Dwell();
        Use();
        if (video_ != nullptr && OneIn(4))
            StartVideo(); // of a channel that runs: stops it first
        if (OneIn(2))
            Dwell();
        Stop();
    }
    Timed(Promise::Close, [&] { driver->Close(); });
    for (const Party party : {Party::Client, Party::Audio, Party::Driver})
        side.Forbid(party);
    run_.library_.deleteIPCaptureEx4(driver);
}

void HostileCycle::StartVideo()
{
    HostSide& side = host_->side;
    HostileChannelSettings settings(side, kSizes[Throw(dice_, 0, 1)]);
    side.Expect(Party::Client);
    side.Expect(Party::Channel);
    Timed(Promise::Start,
          [&]
          {
              if (video_->StartChannel(0, &host_->client, &settings))
                  ++run_.starts_;
          });
    side.Forbid(Party::Channel);
}

void HostileCycle::Start(IIPCaptureDriverEx4& driver)
{
    HostSide& side = host_->side;
    video_ = driver.GetVideoCaptureEx();
    if (video_ == nullptr)
        return side.Fault("an opened driver gives no video");
    StartVideo();
    audio_ = OneIn(2) ? driver.GetAudioCapture() : nullptr;
    if (audio_ != nullptr)
    {
        side.Expect(Party::Audio);
        Timed(Promise::Start, [&] { audio_->StartChannel(0, 0, &host_->client, &host_->client); });
    }
    io_ = OneIn(2) ? driver.GetIO() : nullptr;
    if (io_ != nullptr)
    {
        side.Expect(Party::Io);
        io_->SetClient(&host_->io);
        Timed(Promise::Order, [&] { io_->StartIO(); });
    }
    if (OneIn(3))
        Timed(Promise::Head,
              [&]
              {
                  if (IIPPTZDriver* const heads = driver.GetPTZ(); heads != nullptr)
                      head_ = heads->GetPTZControl(0);
              });
}

void HostileCycle::Use()
{
    HostSide& side = host_->side;
    if (OneIn(3))
    {
        HostileChannelSettings change(side, kSizes[Throw(dice_, 0, 1)]);
        side.Expect(Party::Channel);
        Timed(Promise::Order, [&] { video_->ChangeChannel(0, &change, 100); });
        side.Forbid(Party::Channel);
    }
    if (io_ != nullptr)
        Timed(Promise::Order, [&] { io_->SetOutput(0, OneIn(2) ? kSignalHigh : kSignalLow); });
    if (head_ != nullptr)
        Timed(Promise::Order, [&] { head_->StartMove(Throw(dice_, kPTZLeft, kPTZZoomOut), 8); });
}

void HostileCycle::Stop()
{
    HostSide& side = host_->side;
    const auto stopVideo = [&]
    {
        side.SetStopping(true);
        Timed(Promise::Stop, [&] { video_->StopChannel(0); });
        side.SetStopping(false);
        side.Forbid(Party::Client);
    };
    const auto stopAudio = [&]
    {
        Timed(Promise::StopAudio, [&] { audio_->StopChannel(0); });
        side.Forbid(Party::Audio);
    };
    const auto stopIo = [&]
    {
        Timed(Promise::StopIo, [&] { io_->StopIO(); });
        side.Forbid(Party::Io);
    };
    std::vector<std::function<void()>> stops;
    if (io_ != nullptr)
        stops.emplace_back(stopIo);
    if (!OneIn(4)) // else `Close` does it
        stops.emplace_back(stopVideo);
    if (audio_ != nullptr && !OneIn(4))
        stops.emplace_back(stopAudio);
    std::ranges::shuffle(stops, dice_);
    for (const auto& stop : stops)
        stop();
}

} // namespace larkmoor::host
