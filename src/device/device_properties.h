#pragma once

#include "device/driver.h"

#include <larkmoor/device_property.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// What the properties of a device hold (`ipcapture::DeviceProperty`): the capability query writes them, and
/// the driver reads them back (`IDriver::GetPropertyText`).
namespace korvane
{

/// The paths under which a device serves its streams, and the text in which they travel through the host:
/// "count;http paths;rtsp paths", each list with "," between channels and "!" between the streams of one.
class CStreamPathTable
{
public:
    using Paths = std::vector<std::vector<std::string>>; ///< by channel, by stream; empty: no access

    CStreamPathTable() = default;

    /// Any text is acceptable. One that doesn't have exactly three parts leaves the count at 4 and both lists
    /// empty.
    explicit CStreamPathTable(std::string_view text);

    /// The text that the constructor reads.
    std::string Text() const;

    /// Empty if there is no such entry. `channel` and `stream` from 0.
    static std::string At(const Paths& paths, std::uint32_t channel, std::uint32_t stream);

    std::uint32_t streamCount = 4; ///< of one channel
    Paths http;
    Paths rtsp;
};

/// How a device writes its picture sizes; the numbers are those of the property "Camera type".
enum class ResolutionNotation : std::int32_t
{
    None = 0,
    Numeric = 1, ///< like "640x480"
    Named = 2    ///< like "4CIF", whose height depends on the video standard
};

inline constexpr std::uint32_t kMaxPresets = 1024; ///< whatever a device tells

/// What the properties say of a device's video, parsed once. Absent ones read as 0, false and empty.
struct DeviceFacts
{
    explicit DeviceFacts(const IDriver& driver);

    ResolutionNotation notation;
    bool hasFieldToFrame;
    bool isLegacy;
    std::uint16_t rtspPort; ///< 554 for a property of 0; the low bits of any other number
    CStreamPathTable streams;
};

/// The picture sizes that have names, in pixels, the smallest first.
struct NamedSize
{
    std::string_view name;
    std::uint16_t width;
    std::uint16_t heightNtsc;
    std::uint16_t heightPal;
};
inline constexpr NamedSize kNamedSizes[] = {
    {"QCIF", 176, 120, 144}, {"CIF", 352, 240, 288}, {"4CIF", 704, 480, 576}, {"D1", 720, 480, 576}};

} // namespace korvane
