#pragma once

#include <larkmoor/host_frame.h>

#include <cstdint>
#include <utility>
#include <vector>

#include <gst/gst.h>

namespace larkmoor::gst
{

/// What the driver said of one frame.
struct FrameInfo
{
    std::uint32_t format = 0;
    std::int64_t time = 0; ///< microseconds since 1970
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t sampleRate = 0;
    std::uint32_t bitRate = 0; ///< of sound
    bool isStereo = false;
    std::vector<std::uint8_t> codecConfig;

    bool IsKey() const; ///< sound always is
};

/// A frame that the driver fills: its bytes lie in a buffer of GStreamer's from the start, so that nothing is
/// copied on the way. One thread at a time.
class MediaFrame final : public korvane::ipcapture::IHostFrame
{
public:
    /// Null if there is no memory.
    static MediaFrame* Make(std::uint32_t formatCode, std::uint32_t room);
    ~MediaFrame() override;
    MediaFrame(const MediaFrame&) = delete;
    MediaFrame& operator=(const MediaFrame&) = delete;

    const FrameInfo& Info() const { return info_; }

    /// Hands the filled buffer over, as the caller's; the frame is empty from then on.
    GstBuffer* TakeBuffer();

    void SetData(const std::uint8_t* data, std::uint32_t sizeBytes) override;
    std::uint8_t* GetData() override { return map_.data; }
    void SetDataSize(std::uint32_t sizeBytes) override;
    void SetTimeNow() override;
    void SetTime(const SYSTEMTIME* captureTime) override;
    void SetFormat(std::uint32_t formatCode) override { info_.format = formatCode; }
    void SetCodecConfig(std::uint32_t sizeBytes, const std::uint8_t* config) override;
    void SetHeight(std::uint32_t pixels) override { info_.height = pixels; }
    void SetAudioBitRate(std::uint32_t bitsPerSecond) override { info_.bitRate = bitsPerSecond; }
    void SetWidth(std::uint32_t pixels) override { info_.width = pixels; }
    void SetAudioFormat(std::uint32_t sampleRate, std::uint8_t reserved, bool stereo) override;

    void SetAudioInput(std::uint8_t) override {}
    void SetSizeClass(std::uint32_t) override {}
    void ReservedSlot1() override {}
    void ReservedSlot2() override {}
    void ReservedSlot3() override {}
    void ReservedSlot4() override {}
    void ReservedSlot5() override {}
    void ReservedSlot6() override {}
    void ReservedSlot7() override {}
    void ReservedSlot8() override {}

private:
    MediaFrame(GstBuffer* buffer, const GstMapInfo& map, std::uint32_t formatCode);

    GstBuffer* buffer_;
    GstMapInfo map_;
    std::uint32_t size_ = 0;
    FrameInfo info_;
};

/// Makes the frames of one driver. Any thread.
class FrameAllocator final : public korvane::ipcapture::IHostFrameAllocator
{
public:
    korvane::ipcapture::IHostFrame* AllocateVideoFrame(std::uint32_t formatCode, std::uint32_t sizeBytes,
                                                       const char* driverName) override;
    korvane::ipcapture::IHostFrame* AllocateAudioFrame(std::uint32_t formatCode, std::uint32_t sizeBytes,
                                                       const char* driverName) override;
    void ReleaseAudioFrame(korvane::ipcapture::IHostFrame* frame) override { delete frame; }
    void ReleaseFrame(korvane::ipcapture::IHostFrame* frame) override { delete frame; }
    void ReservedSlot1() override {}
    void ReservedSlot2() override {}
};

} // namespace larkmoor::gst
