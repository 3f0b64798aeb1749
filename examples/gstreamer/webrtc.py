#!/usr/bin/env python3
"""Shows a camera in browsers over WebRTC: webrtc.py LOCATION [PORT], then open http://127.0.0.1:PORT/

The page offers to receive video, posts its offer, and gets the answer back. Each viewer has a connection of its own to
the camera. Needs gstreamer1.0-nice, gir1.2-gst-plugins-bad-1.0 and python3-gi; H.264 is passed on as it comes.
"""
import http.server
import sys
import threading

import gi

gi.require_version("Gst", "1.0")
gi.require_version("GstSdp", "1.0")
gi.require_version("GstWebRTC", "1.0")
from gi.repository import Gst, GstSdp, GstWebRTC

PAGE = b"""<!doctype html><video id=v autoplay muted playsinline></video><script>
const c = new RTCPeerConnection();
c.addTransceiver('video', {direction: 'recvonly'});
c.ontrack = e => v.srcObject = e.streams[0] || new MediaStream([e.track]);
c.onicegatheringstatechange = async () => {
  if (c.iceGatheringState != 'complete') return;
  const answer = await fetch('/offer', {method: 'POST', body: c.localDescription.sdp});
  c.setRemoteDescription({type: 'answer', sdp: await answer.text()});
};
c.createOffer().then(o => c.setLocalDescription(o));
</script>"""
viewers = []


def ask(peer, replies, action, argument):
    promise = Gst.Promise.new()
    peer.emit(action, argument, promise)
    promise.wait()
    replies.append(promise.get_reply())  # what is in one goes with it
    return replies[-1]


def payload_of(offer):
    """The payload type under which the viewer takes H.264."""
    for line in offer.splitlines():
        if line.startswith("a=rtpmap:") and "H264/90000" in line:
            return int(line.split(":")[1].split()[0])
    raise ValueError("the viewer takes no H.264")


def answer_to(offer):
    pipeline = Gst.parse_launch(
        f"larkmoorsrc location={sys.argv[1]} ! h264parse config-interval=-1 ! rtph264pay pt={payload_of(offer)}"
        " aggregate-mode=zero-latency ! application/x-rtp,media=video,encoding-name=H264"
        f",payload={payload_of(offer)} ! webrtcbin name=peer bundle-policy=max-bundle"
    )
    peer = pipeline.get_by_name("peer")
    gathered = threading.Event()

    def gathering(*_):
        if peer.get_property("ice-gathering-state") == GstWebRTC.WebRTCICEGatheringState.COMPLETE:
            gathered.set()

    peer.connect("notify::ice-gathering-state", gathering)
    pipeline.set_state(Gst.State.PLAYING)
    _, text = GstSdp.SDPMessage.new_from_text(offer)
    description = GstWebRTC.WebRTCSessionDescription.new(GstWebRTC.WebRTCSDPType.OFFER, text)
    replies = []
    ask(peer, replies, "set-remote-description", description)
    answer = ask(peer, replies, "create-answer", None).get_value("answer")
    ask(peer, replies, "set-local-description", answer)
    gathered.wait(10)
    viewers.append(pipeline)
    return peer.get_property("local-description").sdp.as_text()


class Page(http.server.BaseHTTPRequestHandler):
    def reply(self, kind, body):
        self.send_response(200)
        self.send_header("Content-Type", kind)
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)

    def do_GET(self):
        self.reply("text/html", PAGE)

    def do_POST(self):
        offer = self.rfile.read(int(self.headers["Content-Length"])).decode()
        self.reply("application/sdp", answer_to(offer).encode())


Gst.init(None)
port = int(sys.argv[2]) if len(sys.argv) > 2 else 8556
server = http.server.ThreadingHTTPServer(("127.0.0.1", port), Page)
print(f"http://127.0.0.1:{port}/", flush=True)
server.serve_forever()
