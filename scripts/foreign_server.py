"""foreign_server.py none|digest PASSWORD: an RTSP server of another make, GStreamer's, with a test picture in H.264. Prints
"ready rtsp=N", and serves /foreign/h264 to the user "root" until it is killed."""
import sys

import gi

gi.require_version("Gst", "1.0")
gi.require_version("GstRtspServer", "1.0")
from gi.repository import GLib, Gst, GstRtsp, GstRtspServer  # noqa: E402

# The payloader puts the parameter sets in front of each key frame: a recording has to have them. Access unit delimiters
# are off, since the driver takes a NAL unit of two bytes for damage.
PIPELINE = ("( videotestsrc is-live=true pattern=ball ! video/x-raw,width=640,height=480,framerate=25/1 ! "
            "x264enc tune=zerolatency speed-preset=ultrafast key-int-max=25 bitrate=1000 aud=false ! "
            "rtph264pay name=pay0 pt=96 config-interval=-1 )")
Gst.init(None)
server = GstRtspServer.RTSPServer(address="127.0.0.1", service="0")
factory = GstRtspServer.RTSPMediaFactory()
factory.set_launch(PIPELINE)
if sys.argv[1] == "digest":
    auth = GstRtspServer.RTSPAuth()
    auth.set_supported_methods(GstRtsp.RTSPAuthMethod.DIGEST)
    token = GstRtspServer.RTSPToken()
    token.set_string(GstRtspServer.RTSP_TOKEN_MEDIA_FACTORY_ROLE, "viewer")
    auth.add_digest("root", sys.argv[2], token)
    server.set_auth(auth)
    factory.add_role_from_structure(Gst.Structure.new_from_string(
        "viewer, media.factory.access=(boolean)true, media.factory.construct=(boolean)true"))
server.get_mount_points().add_factory("/foreign/h264", factory)
server.attach(None)
print(f"ready rtsp={server.get_bound_port()}", flush=True)
GLib.MainLoop().run()
