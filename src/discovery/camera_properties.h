#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace korvane
{

void SkipSpace(std::string_view& text); ///< takes blanks and line ends off the front

/// How many audio channels a device has in one direction. Travels through the host as a text, written by the
/// capability query and read back when a driver is opened.
class CAudioCapabilities
{
public:
    virtual ~CAudioCapabilities() = default;

    std::uint32_t count = 0; ///< audio channels; 0 means none
    bool stereo = false;

    /// Reads "Count=2; IsStereo=1"; the blank may be missing or more than one, and what follows the second
    /// number is not looked at. `text` may be null. On failure, also for a number beyond 32 bits, count is 0
    /// and stereo false.
    bool Parse(const char* text);

    /// The text that `Parse` reads.
    std::string Text() const;
};

/// A picture size that a device offers, with the frame times that it can keep at that size. One thread at a
/// time.
class CameraResolution
{
public:
    CameraResolution() = default;
    CameraResolution(std::uint16_t pictureWidth, std::uint16_t pictureHeight)
        : width(pictureWidth), height(pictureHeight)
    {
    }

    void AddFrameTime(std::uint32_t milliseconds) { frameTimes_.push_back(milliseconds); }

    /// Walk the frame times, in milliseconds, with one cursor per object; 0 at the end.
    std::uint32_t GetFirstFrameTime();
    std::uint32_t GetNextFrameTime();

    std::uint16_t width = 0;  ///< pixels
    std::uint16_t height = 0; ///< pixels

private:
    std::vector<std::uint32_t> frameTimes_;
    std::size_t cursor_ = 0;
};

/// What a device is and can do, as far as every device family has it. One thread at a time.
class CCameraProperties
{
public:
    /// Codes of the codec list. The codes that a host gives at `Open` are others.
    static constexpr std::uint32_t kCapabilityCodecMotionJpeg = 1;
    static constexpr std::uint32_t kCapabilityCodecMpeg4 = 4;
    static constexpr std::uint32_t kCapabilityCodecH264 = 16;

    void AddCodec(std::uint32_t code) { codecs_.push_back(code); }
    /// Walk the codec list with one cursor per object; 0 at the end.
    std::uint32_t GetFirstCodec();
    std::uint32_t GetNextCodec();

    /// Does nothing for a size that is there already; a width of 0 is taken every time.
    void AddResolution(const CameraResolution& resolution);
    /// Walk the resolutions with one cursor per object; null at the end. The pointer is good until the next
    /// `AddResolution`.
    CameraResolution* GetFirstResolution();
    CameraResolution* GetNextResolution();

    const std::string& GetManufacturer() const { return manufacturer_; }
    void SetManufacturer(std::string manufacturer) { manufacturer_ = std::move(manufacturer); }
    /// Manufacturer and model name, joined by one blank.
    const std::string& GetModel() const { return model_; }
    void SetModel(std::string model) { model_ = std::move(model); }

    std::uint32_t GetChannelCount() const { return channelCount_; } ///< video channels
    void SetChannelCount(std::uint32_t count) { channelCount_ = count; }
    std::uint32_t GetInputCount() const { return inputCount_; } ///< digital inputs
    void SetInputCount(std::uint32_t count) { inputCount_ = count; }
    std::uint32_t GetOutputCount() const { return outputCount_; } ///< digital outputs
    void SetOutputCount(std::uint32_t count) { outputCount_ = count; }

    bool HasAudio() const { return hasAudio_; }
    void SetHasAudio(bool has) { hasAudio_ = has; }
    bool HasPTZ() const { return hasPTZ_; }
    void SetHasPTZ(bool has) { hasPTZ_ = has; }

    /// Two marks that the host keeps for devices of the current firmware with video over RTSP.
    bool IsModernStream1() const { return modernStream1_; }
    void SetModernStream1(bool modern) { modernStream1_ = modern; }
    bool IsModernStream2() const { return modernStream2_; }
    void SetModernStream2(bool modern) { modernStream2_ = modern; }

protected:
    ~CCameraProperties() = default;

private:
    std::vector<std::uint32_t> codecs_;
    std::vector<CameraResolution> resolutions_;
    std::string manufacturer_;
    std::string model_;
    std::uint32_t channelCount_ = 0;
    std::uint32_t inputCount_ = 0;
    std::uint32_t outputCount_ = 0;
    std::size_t codecCursor_ = 0;
    std::size_t resolutionCursor_ = 0;
    bool hasAudio_ = false;
    bool hasPTZ_ = false;
    bool modernStream1_ = false;
    bool modernStream2_ = false;
};

} // namespace korvane
