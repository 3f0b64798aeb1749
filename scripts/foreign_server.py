#!/usr/bin/python3
"""An RTSP server of another make: GStreamer's, with a test picture in H.264, and a small CGI answerer beside it.

foreign_server.py none|digest PASSWORD   prints "ready http=N rtsp=N", and serves /foreign/h264 to the user "root" until
it is killed. The answerer repeats each key of a setparam request with its value, and knows no parameter.
"""
import http.server
import sys
import threading
import urllib.parse

import gi

gi.require_version("Gst", "1.0")
gi.require_version("GstRtsp", "1.0")
gi.require_version("GstRtspServer", "1.0")
from gi.repository import GLib, Gst, GstRtsp, GstRtspServer  # noqa: E402

PATH = "/foreign/h264"
# The payloader puts the parameter sets in front of each key frame: a recording has to have them. Access unit delimiters
# are off, since the driver takes a NAL unit of two bytes for damage.
PIPELINE = ("( videotestsrc is-live=true pattern=ball ! video/x-raw,width=640,height=480,framerate=25/1 ! "
            "x264enc tune=zerolatency speed-preset=ultrafast key-int-max=25 bitrate=1000 aud=false ! "
            "rtph264pay name=pay0 pt=96 config-interval=-1 )")


class Answerer(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def do_GET(self):
        target = urllib.parse.urlsplit(self.path)
        body = ""
        if target.path.endswith("/setparam.cgi"):
            for key, value in urllib.parse.parse_qsl(target.query, keep_blank_values=True):
                body += f"{key}='{value}'\r\n"
        self.send_response(200)
        self.send_header("Content-Type", "text/plain")
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body.encode())

    def log_message(self, *_):
        pass


def serve(authentication, password):
    Gst.init(None)
    server = GstRtspServer.RTSPServer()
    server.set_address("127.0.0.1")
    server.set_service("0")
    factory = GstRtspServer.RTSPMediaFactory()
    factory.set_launch(PIPELINE)
    factory.set_shared(False)
    if authentication == "digest":
        auth = GstRtspServer.RTSPAuth()
        auth.set_supported_methods(GstRtsp.RTSPAuthMethod.DIGEST)
        token = GstRtspServer.RTSPToken()
        token.set_string(GstRtspServer.RTSP_TOKEN_MEDIA_FACTORY_ROLE, "viewer")
        auth.add_digest("root", password, token)
        server.set_auth(auth)
        factory.add_role_from_structure(Gst.Structure.new_from_string(
            "viewer, media.factory.access=(boolean)true, media.factory.construct=(boolean)true"))
    server.get_mount_points().add_factory(PATH, factory)
    server.attach(None)
    answerer = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Answerer)
    threading.Thread(target=answerer.serve_forever, daemon=True).start()
    print(f"ready http={answerer.server_address[1]} rtsp={server.get_bound_port()}", flush=True)
    GLib.MainLoop().run()


if len(sys.argv) != 3 or sys.argv[1] not in ("none", "digest"):
    sys.exit(__doc__)
serve(sys.argv[1], sys.argv[2])
