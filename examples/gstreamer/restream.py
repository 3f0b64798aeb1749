#!/usr/bin/env python3
"""Serves a camera to any number of RTSP clients: restream.py LOCATION [PORT]

The camera is asked once, however many clients there are. Needs gir1.2-gst-rtsp-server-1.0 and python3-gi.
"""
import sys

import gi

gi.require_version("Gst", "1.0")
gi.require_version("GstRtspServer", "1.0")
from gi.repository import GLib, Gst, GstRtspServer

Gst.init(None)
factory = GstRtspServer.RTSPMediaFactory()
factory.set_shared(True)
factory.set_launch(f"( larkmoorsrc location={sys.argv[1]} ! h264parse ! rtph264pay name=pay0 pt=96 )")
server = GstRtspServer.RTSPServer()
server.set_address("127.0.0.1")  # or 0.0.0.0, once the clients are asked who they are
server.set_service(sys.argv[2] if len(sys.argv) > 2 else "8555")
server.get_mount_points().add_factory("/camera", factory)
server.attach(None)
print(f"rtsp://127.0.0.1:{server.get_service()}/camera", flush=True)
GLib.MainLoop().run()
