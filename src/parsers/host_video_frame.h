#pragma once

#include <larkmoor/host_frame.h>

#include <cstdint>

namespace korvane
{

/// A video frame of the host's, from its allocation to its release. One thread. The host's calls that may
/// take long are made so that the thread can be given up in them.
class CHostVideoFrame
{
public:
    /// Asks `allocator` (null gives no frame) for `sizeBytes` bytes. An exception of the host counts as a
    /// refusal. `driverName` is zero-ended and must not belong to an object that another thread may free.
    CHostVideoFrame(ipcapture::IHostFrameAllocator* allocator, std::uint32_t formatCode,
                    std::uint32_t sizeBytes, const char* driverName);
    ~CHostVideoFrame(); ///< gives the frame back, whether the host took it or not
    CHostVideoFrame(const CHostVideoFrame&) = delete;
    CHostVideoFrame& operator=(const CHostVideoFrame&) = delete;

    ipcapture::IHostFrame* Get() const { return frame_; } ///< null: the picture is lost

    /// Sets width, height, size class, size in bytes and format; the time and the bytes are the caller's.
    void Describe(std::uint32_t width, std::uint32_t height, std::uint32_t sizeBytes);

private:
    ipcapture::IHostFrameAllocator* const allocator_;
    const std::uint32_t formatCode_;
    ipcapture::IHostFrame* frame_ = nullptr;
};

} // namespace korvane
