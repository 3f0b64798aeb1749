#pragma once

#include <larkmoor/system_time.h>

#include <cstdint>

namespace korvane::ipcapture
{

/// Format codes are four ASCII characters, read from the lowest byte of the value upwards.
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

/// One video picture or one piece of audio. Implemented by the host, made and taken back by its
/// `IHostFrameAllocator`; the driver fills it on one thread, hands it over once and releases it at once.
class IHostFrame
{
public:
    virtual ~IHostFrame() = default;

    /// Audio: copies `sizeBytes` bytes at `data` into the frame; never more than was allocated.
    virtual void SetData(const std::uint8_t* data, std::uint32_t sizeBytes) = 0;

    /// Video: the frame's buffer, at least as large as was asked for.
    virtual std::uint8_t* GetData() = 0;

    virtual void ReservedSlot1() = 0;                        ///< never called by the driver
    virtual void SetDataSize(std::uint32_t sizeBytes) = 0;   ///< video: bytes really in the buffer
    virtual void SetTimeNow() = 0;                           ///< stamps the frame with the present time
    virtual void SetTime(const SYSTEMTIME* captureTime) = 0; ///< UTC; read during the call
    virtual void ReservedSlot2() = 0;                        ///< never called by the driver
    virtual void ReservedSlot3() = 0;                        ///< never called by the driver
    virtual void ReservedSlot4() = 0;                        ///< never called by the driver
    virtual void SetFormat(std::uint32_t formatCode) = 0;    ///< video: one of the codes above

    /// Audio: the decoder configuration (for AAC the AudioSpecificConfig of ISO/IEC 14496-3); read during the
    /// call.
    virtual void SetCodecConfig(std::uint32_t sizeBytes, const std::uint8_t* config) = 0;

    virtual void SetHeight(std::uint32_t pixels) = 0;
    virtual void SetAudioBitRate(std::uint32_t bitsPerSecond) = 0;
    virtual void SetWidth(std::uint32_t pixels) = 0;
    virtual void SetAudioInput(std::uint8_t audioInput) = 0; ///< the audio channel that the frame belongs to

    /// Video: 1 to 4, growing with the picture; 1 below a width of 200, 2 below 400, 3 for a picture of less
    /// than 1024 that is more than twice as wide as high (a single field), else 4.
    virtual void SetSizeClass(std::uint32_t sizeClass) = 0;

    virtual void ReservedSlot5() = 0; ///< never called by the driver
    virtual void ReservedSlot6() = 0; ///< never called by the driver
    virtual void ReservedSlot7() = 0; ///< never called by the driver
    virtual void ReservedSlot8() = 0; ///< never called by the driver

    /// Audio: `sampleRate` in Hz; `reserved` is 16 for one channel; `stereo` is true for two channels.
    virtual void SetAudioFormat(std::uint32_t sampleRate, std::uint8_t reserved, bool stereo) = 0;
};

/// Where the driver takes its frames from. Implemented and owned by the host, valid from `Open` until `Close`
/// returns; called from any thread of the driver, several at once.
class IHostFrameAllocator
{
public:
    virtual ~IHostFrameAllocator() = default;

    virtual void ReservedSlot1() = 0; ///< never called by the driver

    /// A frame with room for `sizeBytes` bytes, or null: then the picture is lost. `driverName` is
    /// zero-ended.
    virtual IHostFrame* AllocateVideoFrame(std::uint32_t formatCode, std::uint32_t sizeBytes,
                                           const char* driverName) = 0;
    virtual IHostFrame* AllocateAudioFrame(std::uint32_t formatCode, std::uint32_t sizeBytes,
                                           const char* driverName) = 0;

    virtual void ReleaseAudioFrame(IHostFrame* frame) = 0; ///< ends the driver's hold on an audio frame
    virtual void ReservedSlot2() = 0;                      ///< never called by the driver
    virtual void ReleaseFrame(IHostFrame* frame) = 0;      ///< ends the driver's hold on a video frame
};

} // namespace korvane::ipcapture
