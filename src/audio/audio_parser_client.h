#pragma once

#include <larkmoor/host_frame.h>

namespace korvane
{

/// Takes the frames of an audio parser, on the thread that feeds the parser.
class IAudioParserClient
{
public:
    virtual ~IAudioParserClient() = default;

    /// One frame, valid during the call only. False makes the parser begin afresh with the next packet.
    virtual bool AudioFrame(ipcapture::IHostFrame* frame) = 0;

    /// Whether frames are wanted: at a stop none is made of what has been read already.
    virtual bool WantsFrames() { return true; }
};

} // namespace korvane
