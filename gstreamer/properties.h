#pragma once

#include "gstreamer/source.h"

#include <string>

#include <gst/gst.h>

namespace larkmoor::gst
{

/// Describes the properties of the element to its class.
void InstallProperties(GObjectClass* type);

/// False for a number that no property has.
bool SetProperty(Source& source, guint id, const GValue& value);
bool GetProperty(const Source& source, guint id, GValue& value);

/// Takes a URI apart and keeps its password out of what can be read. Throws `Problem` for one that can't be
/// understood; then nothing changes. Empty takes the location away.
void SetLocation(Source& source, const std::string& uri);

} // namespace larkmoor::gst
