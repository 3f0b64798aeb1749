#pragma once

#include <cstdint>
#include <utility>

#include <larkmoor/host_frame.h>

namespace korvane
{

/// Where a media parser's frames go: its channel. Called on the thread that feeds the parser.
class IMediaParserClient
{
public:
    /// One whole frame, the host's, valid during the call. False when it was not taken; the parser then
    /// waits for the next key frame.
    virtual bool OnMediaFrame(ipcapture::IHostFrame* frame) = 0;

    /// The width and height in pixels that the channel asked the device for.
    virtual void GetResolution(std::pair<std::uint32_t, std::uint32_t>& resolution) = 0;

protected:
    ~IMediaParserClient() = default; // never deleted through this interface
};

} // namespace korvane
