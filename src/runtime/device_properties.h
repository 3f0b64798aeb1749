#pragma once

#include <cstdint>

/// The numbers of the properties that a device has in the host's store: the capability query writes them, and
/// the driver reads them back (`IDriver::GetPropertyText`).
namespace korvane
{

inline constexpr std::uint32_t kVideoStandardProperty = 1; ///< "1" NTSC, "0" PAL
inline constexpr std::uint32_t kRtspPortProperty = 3;
inline constexpr std::uint32_t kPresetCountProperty = 4;
inline constexpr std::uint32_t kPtzFlagsProperty = 5;
inline constexpr std::uint32_t kCameraTypeProperty = 6; ///< how the device names picture sizes
inline constexpr std::uint32_t kJpegOverHttpProperty = 7;
inline constexpr std::uint32_t kFieldToFrameProperty = 8;    ///< "1": frames of fields on request
inline constexpr std::uint32_t kLegacyInterfaceProperty = 9; ///< "1": the device has the legacy interface
inline constexpr std::uint32_t kMinMoveProperty = 10;
inline constexpr std::uint32_t kMaxMoveProperty = 11;
inline constexpr std::uint32_t kMinZoomProperty = 12;
inline constexpr std::uint32_t kMaxZoomProperty = 13;
inline constexpr std::uint32_t kStreamsProperty = 14; ///< see CStreamPathTable
inline constexpr std::uint32_t kPtzTypeProperty = 15;
inline constexpr std::uint32_t kPtzSubtypeProperty = 16;
inline constexpr std::uint32_t kSelectedAudioCodecsProperty = 17;

} // namespace korvane
