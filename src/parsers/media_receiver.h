#pragma once

#include <larkmoor/host_frame.h>

namespace korvane
{

/// Takes whole frames from an HTTP media parser.
class IMediaReceiver
{
public:
    virtual ~IMediaReceiver() = default;

    /// True if the frame was taken. Runs on the thread that parses; the frame is the parser's, which releases
    /// it when the call has returned.
    virtual bool OnMediaFrame(ipcapture::IHostFrame* frame) = 0;
};

} // namespace korvane
