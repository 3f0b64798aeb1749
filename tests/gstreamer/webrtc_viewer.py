"""webrtc_viewer.py ADDRESS PACKETS: in the place of a browser, offers examples/gstreamer/webrtc.py to receive H.264. Status 0
once so many packets have come."""
import sys
import threading
import urllib.request

import gi

gi.require_version("GstSdp", "1.0")
gi.require_version("GstWebRTC", "1.0")
from gi.repository import Gst, GstSdp, GstWebRTC  # noqa: E402

Gst.init(None)
pipeline = Gst.Pipeline()
peer = Gst.ElementFactory.make("webrtcbin")
peer.set_property("bundle-policy", GstWebRTC.WebRTCBundlePolicy.MAX_BUNDLE)
pipeline.add(peer)
gathered, arrived = threading.Event(), threading.Semaphore(0)


def gathering(*_):
    if peer.get_property("ice-gathering-state") == GstWebRTC.WebRTCICEGatheringState.COMPLETE:
        gathered.set()


def pad_added(_, pad):
    sink = Gst.ElementFactory.make("fakesink")
    sink.set_property("signal-handoffs", True)
    sink.set_property("async", False)
    sink.connect("handoff", lambda *_: arrived.release())
    pipeline.add(sink)
    pad.link(sink.get_static_pad("sink"))
    sink.sync_state_with_parent()


def ask(action, *arguments):
    promise = Gst.Promise.new()
    peer.emit(action, *arguments, promise)
    promise.wait()
    replies.append(promise.get_reply())
    return replies[-1]


replies = []  # what is in one is freed with it
peer.connect("notify::ice-gathering-state", gathering)
peer.connect("pad-added", pad_added)
caps = Gst.Caps.from_string("application/x-rtp,media=video,encoding-name=H264,clock-rate=90000,payload=97")
pipeline.set_state(Gst.State.READY)
peer.emit("add-transceiver", GstWebRTC.WebRTCRTPTransceiverDirection.RECVONLY, caps)
pipeline.set_state(Gst.State.PLAYING)
ask("set-local-description", ask("create-offer", None).get_value("offer"))
gathered.wait(10)
offer = peer.get_property("local-description").sdp.as_text()
answer = urllib.request.urlopen(urllib.request.Request(sys.argv[1] + "offer", offer.encode()), timeout=30).read().decode()
_, text = GstSdp.SDPMessage.new_from_text(answer)
ask("set-remote-description", GstWebRTC.WebRTCSessionDescription.new(GstWebRTC.WebRTCSDPType.ANSWER, text))
came = all(arrived.acquire(timeout=30) for _ in range(int(sys.argv[2])))
pipeline.set_state(Gst.State.NULL)
sys.exit(not came)
