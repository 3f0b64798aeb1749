#pragma once

#include "host/contract/frame.h"

namespace larkmoor::host
{

/// Something that is made of the frames of a stream. Used on one thread; failures are thrown as `Failure`
/// (Output).
class IFrameWriter
{
public:
    virtual ~IFrameWriter() = default;

    /// One frame, in the order of delivery.
    virtual void Write(const Frame& frame) = 0;

    /// No further frame comes: brings all to the disk.
    virtual void Finish() = 0;
};

} // namespace larkmoor::host
