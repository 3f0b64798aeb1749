#include "gstreamer/larkmoor_src.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <cstdlib>

#if defined(__SANITIZE_ADDRESS__)
// GLib leaves the table of its names behind when it outgrows the one that it made while it was loaded.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions()
{
    return "leak:_dl_init\n";
}

extern "C" __attribute__((visibility("default"))) const char* __asan_default_options()
{
    return "fast_unwind_on_malloc=0"; // GLib has no frame pointers, which would tell where that was
}
#endif

#if defined(__SANITIZE_THREAD__)
// GLib and GStreamer are not instrumented, and GLib's locks are none that the sanitizer knows: it does not
// see that a stream was made before its task was started, that a buffer has come back before it is used anew,
// nor the order in which GStreamer takes its own locks.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions()
{
    return "race_top:libgstreamer-1.0.so.0\nrace_top:libglib-2.0.so.0\nrace_top:g_slice_alloc0\n"
           "race_top:gst_object_check_uniqueness\nrace:std::__mutex_base::__mutex_base\n"
           "race:larkmoor::gst::Stream::Stamp\nrace:larkmoor::gst::MediaFrame::SetData\n"
           "deadlock:libgstreamer-1.0.so.0\n";
}

extern "C" __attribute__((visibility("default"))) const char* __tsan_default_options()
{
    return "ignore_noninstrumented_modules=1";
}
#endif

/// Registers the element without a plugin, so that a sanitizer sees all of it, and lets GStreamer count its
/// objects.
int main(int argc, char** argv)
{
    setenv("GST_TRACERS", "leaks", 1);
    setenv("LARKMOOR_LIBRARY", LARKMOOR_BINARY_DIR "/liblarkmoor.so", 0);
    testing::InitGoogleMock(&argc, argv);
    gst_init(&argc, &argv);
    if (!gst_element_register(nullptr, "larkmoorsrc", GST_RANK_NONE, larkmoor_src_get_type()))
        return 1;
    return RUN_ALL_TESTS();
}
