#pragma once

#include "host/hostile/hostile_run.h"

namespace larkmoor::host
{

using namespace korvane::ipcapture;

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
