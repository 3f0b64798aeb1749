#pragma once

#include "device/driver.h"

#include <larkmoor/host_frame.h>

#include <cstdint>
#include <span>
#include <string>

namespace korvane
{

/// A frame of the host's, video or audio, from its allocation to its release. One thread. Each call on the
/// host is one call of the gate (runtime/host_call.h).
class CHostFrame
{
public:
    enum class Kind
    {
        kVideo,
        kAudio,
    };

    /// Asks the driver's allocator for `sizeBytes` bytes; `driverName` is what the allocator is told. Throws
    /// if the allocator did.
    CHostFrame(Kind kind, const IDriver& driver, const std::string& driverName, std::uint32_t formatCode,
               std::uint32_t sizeBytes);
    ~CHostFrame(); ///< gives the frame back, whether the host took it or not
    CHostFrame(const CHostFrame&) = delete;
    CHostFrame& operator=(const CHostFrame&) = delete;

    ipcapture::IHostFrame* Get() const { return frame_; } ///< null: the host has none, and the frame is lost

    /// Video: the frame's buffer, at least as large as was asked for; null when the host gives none.
    std::uint8_t* Room() const;

    /// Video: copies `data` into the buffer and says what it is, as `DescribeVideo`. False without a buffer.
    bool SetVideo(std::span<const std::uint8_t> data, std::uint32_t width, std::uint32_t height,
                  const SYSTEMTIME* time) const;

    /// Video: what the `sizeBytes` bytes in the buffer are; without a `time` the frame gets the present one.
    /// False if the host threw.
    bool DescribeVideo(std::uint32_t width, std::uint32_t height, std::uint32_t sizeBytes,
                       const SYSTEMTIME* time) const;

    /// Audio: the bytes, and the decoder's configuration if it is not empty, in whole; both are copied first,
    /// for the host may take longer to read them than the caller lives.
    bool SetAudio(std::span<const std::uint8_t> data, std::span<const std::uint8_t> config) const;
    /// Audio: what the bytes are; the frame gets the present time. False if the host threw.
    bool DescribeAudio(std::uint32_t sampleRate, std::uint8_t reserved, bool stereo, std::uint32_t bitRate,
                       std::uint8_t audioInput) const;

private:
    const Kind kind_;
    const std::uint32_t formatCode_;
    ipcapture::IHostFrameAllocator* const allocator_;
    ipcapture::IHostFrame* frame_ = nullptr;
};

} // namespace korvane
