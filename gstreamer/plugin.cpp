#include "gstreamer/larkmoor_src.h"

#include <gst/gst.h>

namespace
{

gboolean Register(GstPlugin* plugin)
{
    return gst_element_register(plugin, "larkmoorsrc", GST_RANK_PRIMARY, larkmoor_src_get_type());
}

} // namespace

#define PACKAGE "larkmoor"
GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, larkmoor, "Records from Vivotek cameras", Register,
                  LARKMOOR_VERSION, "MIT/X11", "larkmoor", "Unknown package origin")
