#!/usr/bin/env python3
"""Hands decoded pictures to a program of one's own: analyse.py LOCATION [PICTURES]

Here the "analysis" is the mean brightness. Pictures that come while it works are dropped, not queued: it always
sees the newest one. Needs python3-gi and gstreamer1.0-libav.
"""
import sys

import gi

gi.require_version("Gst", "1.0")
gi.require_version("GstApp", "1.0")
from gi.repository import Gst, GstApp

Gst.init(None)
pipeline = Gst.parse_launch(
    f"larkmoorsrc location={sys.argv[1]} ! h264parse ! avdec_h264 ! videoconvert ! video/x-raw,format=GRAY8 !"
    " appsink name=sink max-buffers=1 drop=true sync=false"
)
sink = pipeline.get_by_name("sink")
pipeline.set_state(Gst.State.PLAYING)
for _ in range(int(sys.argv[2]) if len(sys.argv) > 2 else 10):
    sample = sink.try_pull_sample(30 * Gst.SECOND)
    if sample is None:
        sys.exit("no picture came")
    size = sample.get_caps().get_structure(0)
    pixels = sample.get_buffer().extract_dup(0, sample.get_buffer().get_size())
    seconds = sample.get_buffer().pts / Gst.SECOND
    print(f"{seconds:.3f} s {size.get_value('width')}x{size.get_value('height')} brightness {sum(pixels) / len(pixels):.1f}", flush=True)
pipeline.set_state(Gst.State.NULL)
