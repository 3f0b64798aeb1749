#include "host/contract/frame_allocator.h"

#include "host/base/stopwatch.h"

#include <algorithm>
#include <bit>
#include <new>
#include <string>
#include <utility>

namespace larkmoor::host
{

namespace
{

constexpr std::uint32_t kLargestFrame = 64u << 20; // no camera sends such a picture: a length went wrong
constexpr std::size_t kSmallestCapacity = 4096;    // small frames share one kind of buffer
constexpr std::size_t kMostFreeBytes = 32u << 20;  // beyond it buffers go back to the system

} // namespace

FrameHold::FrameHold(FrameHold&& other) noexcept
    : allocator_(std::exchange(other.allocator_, nullptr)), frame_(std::exchange(other.frame_, nullptr))
{
}

FrameHold& FrameHold::operator=(FrameHold&& other) noexcept
{
    std::swap(allocator_, other.allocator_);
    std::swap(frame_, other.frame_);
    return *this;
}

FrameHold::~FrameHold()
{
    if (frame_ != nullptr)
        allocator_->DropHold(frame_);
}

FrameAllocator::FrameAllocator(FaultList& faults) : faults_(faults) {}

FrameAllocator::~FrameAllocator() = default;

FrameHold FrameAllocator::Hold(IHostFrame* frame)
{
    {
        const std::lock_guard guard(lock_);
        if (withDriver_.contains(frame))
        {
            Frame* own = used_.at(frame).get();
            own->holds_.fetch_add(1);
            own->info_.delivered = WallMicroseconds();
            return FrameHold(this, own);
        }
    }
    faults_.Add("delivery of a frame that the driver does not hold");
    return FrameHold();
}

std::uint64_t FrameAllocator::Allocated() const
{
    const std::lock_guard guard(lock_);
    return allocated_;
}

std::uint64_t FrameAllocator::Outstanding() const
{
    const std::lock_guard guard(lock_);
    return withDriver_.size();
}

void FrameAllocator::Trim()
{
    const std::lock_guard guard(lock_);
    free_.clear();
    freeBytes_ = 0;
}

std::unique_ptr<Frame> FrameAllocator::TakeFree(std::size_t capacity)
{
    const auto found = free_.find(capacity);
    if (found == free_.end() || found->second.empty())
        return nullptr;
    std::unique_ptr<Frame> frame = std::move(found->second.back());
    found->second.pop_back();
    freeBytes_ -= capacity;
    return frame;
}

IHostFrame* FrameAllocator::Allocate(std::uint32_t formatCode, std::uint32_t sizeBytes,
                                     const char* driverName, bool isAudio)
try
{
    if (sizeBytes > kLargestFrame)
    {
        faults_.Add("request for a frame of " + std::to_string(sizeBytes) + " bytes");
        return nullptr;
    }
    if (driverName == nullptr || *driverName == '\0')
        faults_.Add("request for a frame without the driver's name");

    const std::size_t capacity = std::max(std::bit_ceil(std::size_t{sizeBytes}), kSmallestCapacity);
    const std::lock_guard guard(lock_);
    std::unique_ptr<Frame> frame = TakeFree(capacity);
    if (!frame)
        frame = std::make_unique<Frame>(capacity, [this](const std::string& text) { faults_.Add(text); });
    frame->Prepare(formatCode, sizeBytes, isAudio);
    frame->holds_ = 1;
    IHostFrame* result = frame.get();
    used_.emplace(result, std::move(frame));
    withDriver_.insert(result);
    ++allocated_;
    return result;
}
catch (const std::bad_alloc&)
{
    return nullptr;
}

void FrameAllocator::Release(IHostFrame* frame, bool isAudio)
{
    Frame* own = nullptr;
    {
        const std::lock_guard guard(lock_);
        if (withDriver_.erase(frame) != 0)
            own = used_.at(frame).get();
    }
    if (own == nullptr)
        return faults_.Add("release of a frame that the driver does not hold");
    if (own->Info().isAudio != isAudio)
        faults_.Add(isAudio ? "release of a video frame as audio" : "release of an audio frame as video");
    DropHold(own);
}

void FrameAllocator::DropHold(Frame* frame)
{
    if (frame->holds_.fetch_sub(1) != 1)
        return;
    // Looked at last, so that a write through a pointer that the driver should have forgotten shows as well.
    const bool intact = frame->GuardsIntact();
    if (!intact)
        faults_.Add("write outside a frame of " + std::to_string(frame->room_) + " bytes");

    const std::lock_guard guard(lock_);
    std::unique_ptr<Frame> own = std::move(used_.extract(frame).mapped());
    if (!intact || freeBytes_ + own->Capacity() > kMostFreeBytes)
        return;
    own->Seal();
    freeBytes_ += own->Capacity();
    free_[own->Capacity()].push_back(std::move(own));
}

} // namespace larkmoor::host
