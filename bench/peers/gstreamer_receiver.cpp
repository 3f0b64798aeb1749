// N RTSP streams into GStreamer, down to whole H.264 access units, in one process.
// gstreamer_receiver udp|tcp PORT SECONDS PATH...
// Prints one line: access units and their bytes.

#include <gst/gst.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace
{

std::atomic<unsigned long> frames{0};
std::atomic<unsigned long> bytes{0};

void OnFrame(GstElement*, GstBuffer* buffer, GstPad*, gpointer)
{
    frames.fetch_add(1, std::memory_order_relaxed);
    bytes.fetch_add(gst_buffer_get_size(buffer), std::memory_order_relaxed);
}

gboolean OnEnd(gpointer loop)
{
    g_main_loop_quit(static_cast<GMainLoop*>(loop));
    return FALSE;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 5)
        return 2;
    gst_init(nullptr, nullptr);
    GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
    for (int i = 4; i < argc; ++i)
    {
        const std::string description =
            "rtspsrc latency=0 protocols=" + std::string(argv[1]) + " location=rtsp://127.0.0.1:" + argv[2] +
            "/" + argv[i] +
            " ! rtph264depay ! video/x-h264,stream-format=byte-stream,alignment=au ! "
            "fakesink name=sink sync=false async=false signal-handoffs=true";
        GError* error = nullptr;
        GstElement* pipeline = gst_parse_launch(description.c_str(), &error);
        if (pipeline == nullptr)
        {
            std::fprintf(stderr, "%s\n", error->message);
            return 1;
        }
        GstElement* sink = gst_bin_get_by_name(GST_BIN(pipeline), "sink");
        g_signal_connect(sink, "handoff", G_CALLBACK(OnFrame), nullptr);
        gst_object_unref(sink);
        gst_element_set_state(pipeline, GST_STATE_PLAYING);
    }
    g_timeout_add_seconds(static_cast<guint>(std::atoi(argv[3])), OnEnd, loop);
    g_main_loop_run(loop);
    std::printf("{\"frames\": %lu, \"bytes\": %lu}\n", frames.load(), bytes.load());
    std::fflush(stdout);
    std::_Exit(0); // the pipelines end with the process
}
