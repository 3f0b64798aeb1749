#pragma once

#include "gstreamer/source_settings.h"

#include "host/device/device.h"

namespace larkmoor::gst
{

/// The device that an element's properties name: the device file's, with what the location, the user and the
/// password say over it. A password that is named nowhere is that of the environment variable
/// LARKMOOR_PASSWORD. `settings.channel` takes the location's. Throws `Problem`.
host::Device ChooseDevice(SourceSettings& settings);

} // namespace larkmoor::gst
