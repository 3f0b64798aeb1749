#pragma once

#include "camera/rtsp/h264_access_unit.h"

#include <optional>

namespace larkmoor::camera
{

/// The frame that a right receiver hands to its host for an access unit that arrives whole.
struct ExpectedFrame
{
    Bytes bytes;
    bool key = false; ///< a sequence parameter set stands near its start
};

/// Works out that frame from the units and the way that each of them travels, not from the packets: it checks
/// the cutting into packets as well. `described` are the parameter sets that the description told, empty
/// where it did not. The rules:
/// - Each unit stands behind the start code 00 00 01, and 00 00 01 09 30 ends the frame.
/// - An IDR slice that would open the frame gets the described sets in front, if both are known.
/// - A fragmented slice that is not of an IDR picture opens the frame anew: units before it are lost.
/// - A unit of fewer than 3 bytes in a packet of its own is taken for damage: what was before it is lost, and
/// the
///   frame is handed on only if it is a key frame. Then there may be no frame at all.
std::optional<ExpectedFrame> WorkOutFrame(const std::vector<SentUnit>& units, const ParameterSets& described);

} // namespace larkmoor::camera
