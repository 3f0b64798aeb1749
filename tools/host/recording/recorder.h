#pragma once

#include "host/contract/stream_client.h"
#include "host/recording/frame_files.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace larkmoor::host
{

/// Stands between the driver's threads and the writers, so that a slow disk doesn't hold up reception: frames
/// wait, held, in a queue of at most 64 MB, and are refused beyond it. After a failed write all are refused.
class Recorder final : public IFrameReceiver
{
public:
    /// Starts its thread, on which the writers are used. They outlive the recorder.
    explicit Recorder(std::vector<IFrameWriter*> writers);

    /// As `Finish`, without its result.
    ~Recorder() override;

    bool TakeFrame(FrameHold frame) override;

    /// Writes what waits and closes the files. Returns the first failure, if there was one. No frame is taken
    /// afterwards.
    std::optional<std::string> Finish();

    /// True when a write has failed: recording on makes no sense.
    bool HasFailed() const;

    static constexpr std::size_t kMostBytes = 64u << 20;

private:
    void Run();
    void WriteAll();
    void RememberFailureOf(const std::function<void()>& work);

    std::vector<IFrameWriter*> writers_;
    mutable std::mutex lock_; // over all below but the thread
    std::condition_variable changed_;
    std::deque<FrameHold> queue_;
    std::size_t queuedBytes_ = 0;
    bool ending_ = false;
    std::optional<std::string> failure_;
    std::thread thread_;
};

} // namespace larkmoor::host
