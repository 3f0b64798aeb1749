#pragma once

#include <larkmoor/system_time.h>

#include <cstdint>

namespace korvane
{
namespace ipcapture
{

/// A format code has four ASCII characters; the first one is in the lowest byte of the value.
constexpr std::uint32_t FourCharacterCode(char first, char second, char third, char fourth)
{
    return static_cast<std::uint32_t>(static_cast<unsigned char>(first)) |
           static_cast<std::uint32_t>(static_cast<unsigned char>(second)) << 8 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(third)) << 16 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(fourth)) << 24;
}

constexpr std::uint32_t kFormatJpeg = FourCharacterCode('J', 'P', 'E', 'G');
constexpr std::uint32_t kFormatMpeg4Key = FourCharacterCode('D', 'I', 'V', 'X');
constexpr std::uint32_t kFormatMpeg4Delta = FourCharacterCode('D', 'I', 'V', 'I'); ///< not a key frame
constexpr std::uint32_t kFormatH264Key = FourCharacterCode('H', '2', '6', '4');
constexpr std::uint32_t kFormatH264Delta = FourCharacterCode('I', '2', '6', '4'); ///< not a key frame
constexpr std::uint32_t kFormatG711MuLaw = FourCharacterCode('7', '1', '1', 'M');
constexpr std::uint32_t kFormatG711ALaw = FourCharacterCode('7', '1', '1', 'A');
constexpr std::uint32_t kFormatG726 = FourCharacterCode('7', '2', '6', '1');
constexpr std::uint32_t kFormatAac = FourCharacterCode('A', 'A', 'C', '1');

/// One video picture or one piece of audio. Implemented by the host, allocated and released by its
/// `IHostFrameAllocator`. The driver fills it, delivers it once and releases it, all on one thread. If a call
/// throws, the driver drops the frame.
class IHostFrame
{
public:
    virtual ~IHostFrame() = default;

    /// Audio: copy `sizeBytes` bytes at `data` into the frame. Never more than the driver allocated.
    virtual void SetData(const std::uint8_t* data, std::uint32_t sizeBytes) = 0;

    /// Video: the frame's buffer, at least as large as the driver asked for; null drops the frame.
    virtual std::uint8_t* GetData() = 0;

    virtual void ReservedSlot1() = 0;                        ///< never called by the driver
    virtual void SetDataSize(std::uint32_t sizeBytes) = 0;   ///< video: the bytes used in the buffer
    virtual void SetTimeNow() = 0;                           ///< set the frame's time to the current time
    virtual void SetTime(const SYSTEMTIME* captureTime) = 0; ///< UTC; valid during the call
    virtual void ReservedSlot2() = 0;                        ///< never called by the driver
    virtual void ReservedSlot3() = 0;                        ///< never called by the driver
    virtual void ReservedSlot4() = 0;                        ///< never called by the driver
    virtual void SetFormat(std::uint32_t formatCode) = 0;    ///< video: one of the codes above

    /// Audio: the decoder configuration (for AAC the AudioSpecificConfig of ISO/IEC 14496-3); valid during
    /// the call. Called only for AAC.
    virtual void SetCodecConfig(std::uint32_t sizeBytes, const std::uint8_t* config) = 0;

    virtual void SetHeight(std::uint32_t pixels) = 0;              ///< video
    virtual void SetAudioBitRate(std::uint32_t bitsPerSecond) = 0; ///< 0: unknown
    virtual void SetWidth(std::uint32_t pixels) = 0;               ///< video
    virtual void SetAudioInput(std::uint8_t audioInput) = 0;       ///< audio: the channel, from 0

    /// Video: 1 to 4, larger for a larger picture: 1 below a width of 200 pixels, 2 below 400, 3 below 1024
    /// if the picture is more than twice as wide as high (a single field), otherwise 4.
    virtual void SetSizeClass(std::uint32_t sizeClass) = 0;

    virtual void ReservedSlot5() = 0; ///< never called by the driver
    virtual void ReservedSlot6() = 0; ///< never called by the driver
    virtual void ReservedSlot7() = 0; ///< never called by the driver
    virtual void ReservedSlot8() = 0; ///< never called by the driver

    /// Audio: `sampleRate` in Hz; `stereo` is true for two channels; `reserved` is 16 for one channel.
    virtual void SetAudioFormat(std::uint32_t sampleRate, std::uint8_t reserved, bool stereo) = 0;
};

/// Allocates the driver's frames. Implemented and owned by the host, valid from `Open` until `Close` returns.
/// Called on the threads that deliver frames, by several of them at the same time.
class IHostFrameAllocator
{
public:
    virtual ~IHostFrameAllocator() = default;

    virtual void ReservedSlot1() = 0; ///< never called by the driver

    /// Return a frame with room for `sizeBytes` bytes, or null to drop this frame. `driverName` is zero-ended
    /// and valid during the call.
    virtual IHostFrame* AllocateVideoFrame(std::uint32_t formatCode, std::uint32_t sizeBytes,
                                           const char* driverName) = 0;
    virtual IHostFrame* AllocateAudioFrame(std::uint32_t formatCode, std::uint32_t sizeBytes,
                                           const char* driverName) = 0;

    virtual void ReleaseAudioFrame(IHostFrame* frame) = 0; ///< the driver no longer uses the audio frame
    virtual void ReservedSlot2() = 0;                      ///< never called by the driver
    virtual void ReleaseFrame(IHostFrame* frame) = 0;      ///< the driver no longer uses the video frame
};

} // namespace ipcapture
} // namespace korvane
