#pragma once

#include <cstdint>

#include <gst/gst.h>

/// The GObject type of the element "larkmoorsrc".
extern "C" GType larkmoor_src_get_type();

namespace larkmoor::gst
{

/// Whether somebody is connected to the signal "input-changed" of an element of that type.
bool LarkmoorSrcHearsInputs(GstElement* element);

/// Emits it, on the calling thread.
void LarkmoorSrcEmitInput(GstElement* element, std::uint32_t number, bool isHigh);

} // namespace larkmoor::gst
