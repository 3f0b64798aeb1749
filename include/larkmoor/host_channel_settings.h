#pragma once

#include <cstdint>

namespace korvane::ipcapture
{

/// A picture size in pixels. Implemented and owned by the host.
class IHostResolution
{
public:
    virtual ~IHostResolution() = default;

    virtual std::uint16_t GetWidth() = 0;
    virtual std::uint16_t GetHeight() = 0;
};

class IHostVideoFormat
{
public:
    virtual ~IHostVideoFormat() = default;

    virtual void ReservedSlot1() = 0;              ///< never called by the driver
    virtual void ReservedSlot2() = 0;              ///< never called by the driver
    virtual IHostResolution* GetPictureSize() = 0; ///< never null
};

class IHostStreamSettings
{
public:
    virtual ~IHostStreamSettings() = default;

    virtual std::uint16_t GetFrameInterval() = 0; ///< milliseconds between frames; 0 asks for no rate
    virtual void ReservedSlot1() = 0;             ///< never called by the driver
    virtual std::uint16_t GetQuality() = 0;       ///< 0 worst to 100 best
};

/// What a video channel is to deliver. Implemented and owned by the host; read only while `StartChannel`
/// runs.
class IHostChannelSettings
{
public:
    virtual ~IHostChannelSettings() = default;

    virtual IHostVideoFormat* GetVideoFormat() = 0;       ///< never null
    virtual IHostStreamSettings* GetStreamSettings() = 0; ///< never null
};

} // namespace korvane::ipcapture
