#pragma once

#include <cstdint>

namespace korvane
{
namespace ipcapture
{

/// A picture size in pixels. Implemented and owned by the host.
class IHostResolution
{
public:
    virtual ~IHostResolution() = default;

    virtual std::uint16_t GetWidth() = 0;
    virtual std::uint16_t GetHeight() = 0;
};

/// The picture size of a channel. Implemented and owned by the host.
class IHostVideoFormat
{
public:
    virtual ~IHostVideoFormat() = default;

    virtual void ReservedSlot1() = 0;              ///< never called by the driver
    virtual void ReservedSlot2() = 0;              ///< never called by the driver
    virtual IHostResolution* GetPictureSize() = 0; ///< not null
};

/// The rate and the quality of a channel. Implemented and owned by the host.
class IHostStreamSettings
{
public:
    virtual ~IHostStreamSettings() = default;

    /// Milliseconds between frames. 0 leaves the rate of MPEG-4, and of Motion JPEG over HTTP, as it is; for
    /// H.264 and Motion JPEG over RTSP it asks for 1 frame per second.
    virtual std::uint16_t GetFrameInterval() = 0;

    virtual void ReservedSlot1() = 0;       ///< never called by the driver
    virtual std::uint16_t GetQuality() = 0; ///< 0 worst to 100 best
};

/// The settings that the host wants for a video channel. Implemented and owned by the host; the driver reads
/// it only during `StartChannel`, on the calling thread. If a getter throws or returns null, `StartChannel`
/// returns false.
class IHostChannelSettings
{
public:
    virtual ~IHostChannelSettings() = default;

    virtual IHostVideoFormat* GetVideoFormat() = 0;       ///< not null
    virtual IHostStreamSettings* GetStreamSettings() = 0; ///< not null
};

} // namespace ipcapture
} // namespace korvane
