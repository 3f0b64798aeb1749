#pragma once

#include "host/contract/fault_list.h"
#include "host/contract/frame.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace larkmoor::host
{

using namespace korvane::ipcapture;

class FrameAllocator;

/// A hold of the host on a frame, beside the driver's: the frame stays as it is until the last hold goes.
class FrameHold
{
public:
    FrameHold() = default;
    FrameHold(FrameHold&& other) noexcept;
    FrameHold& operator=(FrameHold&& other) noexcept;
    FrameHold(const FrameHold&) = delete;
    FrameHold& operator=(const FrameHold&) = delete;
    ~FrameHold();

    explicit operator bool() const { return frame_ != nullptr; }
    const Frame& operator*() const { return *frame_; }
    const Frame* operator->() const { return frame_; }

private:
    friend class FrameAllocator;
    FrameHold(FrameAllocator* allocator, Frame* frame) : allocator_(allocator), frame_(frame) {}

    FrameAllocator* allocator_ = nullptr;
    Frame* frame_ = nullptr;
};

/// The frames of one host process. Frames that came back are used again; every frame that is out is known, so
/// that a frame that never comes back, comes back twice or comes back damaged is noticed. Any thread.
/// Outlives the driver and all holds.
class FrameAllocator final : public IHostFrameAllocator
{
public:
    /// `faults` outlives the allocator.
    explicit FrameAllocator(FaultList& faults);
    ~FrameAllocator() override;

    /// A hold on a frame that the driver has just delivered; none, and a fault, if the driver has no such
    /// frame out.
    FrameHold Hold(IHostFrame* frame);

    std::uint64_t Allocated() const;   ///< frames handed out since the beginning
    std::uint64_t Outstanding() const; ///< frames that the driver has not released

    /// Frees what waits to be used again.
    void Trim();

    void ReservedSlot1() override { faults_.Add("call of a reserved operation of the frame allocator"); }
    IHostFrame* AllocateVideoFrame(std::uint32_t formatCode, std::uint32_t sizeBytes,
                                   const char* driverName) override
    {
        return Allocate(formatCode, sizeBytes, driverName, false);
    }
    IHostFrame* AllocateAudioFrame(std::uint32_t formatCode, std::uint32_t sizeBytes,
                                   const char* driverName) override
    {
        return Allocate(formatCode, sizeBytes, driverName, true);
    }
    void ReleaseAudioFrame(IHostFrame* frame) override { Release(frame, true); }
    void ReservedSlot2() override { ReservedSlot1(); }
    void ReleaseFrame(IHostFrame* frame) override { Release(frame, false); }

private:
    friend class FrameHold;

    IHostFrame* Allocate(std::uint32_t formatCode, std::uint32_t sizeBytes, const char* driverName,
                         bool isAudio);
    void Release(IHostFrame* frame, bool isAudio);
    void DropHold(Frame* frame);
    std::unique_ptr<Frame> TakeFree(std::size_t capacity); // the lock is held

    FaultList& faults_;
    mutable std::mutex lock_; // over all below; no call leaves this class while it is held
    std::unordered_map<const IHostFrame*, std::unique_ptr<Frame>> used_; // driver or host holds it
    std::unordered_set<const IHostFrame*> withDriver_;
    std::map<std::size_t, std::vector<std::unique_ptr<Frame>>> free_; // by capacity
    std::size_t freeBytes_ = 0;
    std::uint64_t allocated_ = 0;
};

} // namespace larkmoor::host
