#pragma once

#include <larkmoor/host_frame.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace larkmoor::host
{

using namespace korvane::ipcapture;

/// What the driver said of a frame, beside its bytes.
struct FrameInfo
{
    std::uint32_t format = 0; ///< four-character code
    std::uint32_t width = 0;  ///< pixels
    std::uint32_t height = 0; ///< pixels
    std::uint32_t sizeClass = 0;
    std::int64_t time = 0;      ///< microseconds since 1970, UTC; 0 if the driver gave none
    std::int64_t delivered = 0; ///< the same, of the moment in which the driver handed it over; 0 before
    bool isAudio = false;

    std::vector<std::uint8_t> codecConfig; ///< audio only, as all below
    std::uint32_t audioBitRate = 0;
    std::uint32_t sampleRate = 0;
    std::uint8_t audioInput = 0;
    bool stereo = false;
};

/// True for a picture that can be decoded without others.
bool IsKeyFrame(std::uint32_t format);

/// "H264" and so on; bytes that are no printable ASCII become "?".
std::string FormatName(std::uint32_t format);

/// Microseconds since 1970 of a calendar time; none of its fields is trusted.
std::int64_t UnixMicroseconds(const SYSTEMTIME& time);

/// A frame of the bench host. Guard bytes stand on both sides of the room that was asked for, so that a write
/// outside it is noticed when the frame comes back. Owned by `FrameAllocator`, which hands frames out and
/// takes them back; filled by one thread.
class Frame final : public IHostFrame
{
public:
    using FaultHandler = std::function<void(const std::string& text)>;

    /// Room for up to `capacity` bytes; calls `onFault` when the driver breaks the contract.
    Frame(std::size_t capacity, FaultHandler onFault);
    ~Frame() override;

    std::size_t Capacity() const { return capacity_; }
    const FrameInfo& Info() const { return info_; }

    /// The bytes that the driver says are in the frame.
    std::span<const std::uint8_t> Data() const { return {bytes_.get() + kGuardBytes, size_}; }

    /// Makes the frame ready for a driver that asks for `room` bytes, at most `Capacity`.
    void Prepare(std::uint32_t formatCode, std::size_t room, bool isAudio);

    /// False when a guard byte was overwritten.
    bool GuardsIntact() const;

    /// Closes the buffer to everybody, where the address sanitizer can see to that, until the next `Prepare`.
    void Seal();

    void SetData(const std::uint8_t* data, std::uint32_t sizeBytes) override;
    std::uint8_t* GetData() override { return bytes_.get() + kGuardBytes; }
    void ReservedSlot1() override { onFault_("call of a reserved operation of a frame"); }
    void SetDataSize(std::uint32_t sizeBytes) override;
    void SetTimeNow() override;
    void SetTime(const SYSTEMTIME* captureTime) override;
    void ReservedSlot2() override { ReservedSlot1(); }
    void ReservedSlot3() override { ReservedSlot1(); }
    void ReservedSlot4() override { ReservedSlot1(); }
    void SetFormat(std::uint32_t formatCode) override { info_.format = formatCode; }
    void SetCodecConfig(std::uint32_t sizeBytes, const std::uint8_t* config) override;
    void SetHeight(std::uint32_t pixels) override { info_.height = pixels; }
    void SetAudioBitRate(std::uint32_t bitsPerSecond) override { info_.audioBitRate = bitsPerSecond; }
    void SetWidth(std::uint32_t pixels) override { info_.width = pixels; }
    void SetAudioInput(std::uint8_t audioInput) override { info_.audioInput = audioInput; }
    void SetSizeClass(std::uint32_t sizeClass) override { info_.sizeClass = sizeClass; }
    void ReservedSlot5() override { ReservedSlot1(); }
    void ReservedSlot6() override { ReservedSlot1(); }
    void ReservedSlot7() override { ReservedSlot1(); }
    void ReservedSlot8() override { ReservedSlot1(); }
    void SetAudioFormat(std::uint32_t sampleRate, std::uint8_t reserved, bool stereo) override;

private:
    friend class FrameAllocator;

    static constexpr std::size_t kGuardBytes = 32;

    std::size_t capacity_;
    std::size_t room_ = 0;
    std::size_t size_ = 0;
    FrameInfo info_;
    FaultHandler onFault_;
    std::unique_ptr<std::uint8_t[]> bytes_; // guard, room, guard
    std::atomic<int> holds_{0};             // the driver's and the host's; at 0 the frame goes back
};

} // namespace larkmoor::host
