#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace korvane
{

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

/// A list that is walked with one cursor of its own. One thread at a time.
template <class T>
class TCursorList
{
public:
    void Add(T entry) { entries_.push_back(std::move(entry)); }

    /// The entries in order; null at the end. A pointer is good until the next `Add`.
    T* Next() { return cursor_ < entries_.size() ? &entries_[cursor_++] : nullptr; }
    T* First()
    {
        cursor_ = 0;
        return Next();
    }

private:
    std::vector<T> entries_;
    std::size_t cursor_ = 0;
};

/// A picture size that a device offers, with the frame times that it can keep at that size.
struct CameraResolution
{
    std::uint16_t width = 0;                    ///< pixels
    std::uint16_t height = 0;                   ///< pixels
    TCursorList<std::uint32_t> frameTimes = {}; ///< milliseconds
};

/// What a device is and can do, as far as every device family has it. One thread at a time.
class CCameraProperties
{
public:
    /// Codes of the codec list. The codes that a host gives at `Open` are others.
    static constexpr std::uint32_t kCapabilityCodecMotionJpeg = 1;
    static constexpr std::uint32_t kCapabilityCodecMpeg4 = 4;
    static constexpr std::uint32_t kCapabilityCodecH264 = 16;

protected:
    ~CCameraProperties() = default;

    /// Does nothing for a size that is there already; a width of 0 is taken every time.
    void AddResolution(const CameraResolution& resolution);

    TCursorList<std::uint32_t> codecs_;
    TCursorList<CameraResolution> resolutions_;
    std::string manufacturer_;
    std::string model_;              ///< manufacturer and model name, joined by one blank
    std::uint32_t channelCount_ = 0; ///< video channels
    std::uint32_t inputCount_ = 0;   ///< digital inputs
    std::uint32_t outputCount_ = 0;  ///< digital outputs
    bool hasAudio_ = false;
    bool hasPTZ_ = false;

    /// Two marks that the host keeps for devices of the current firmware with video over RTSP.
    bool modernStream1_ = false;
    bool modernStream2_ = false;
};

} // namespace korvane
