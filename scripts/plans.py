"""plans.py VERB [ARGUMENT...]: what ./dev runs in the laboratory, see docs/measuring.md. A plan yields whether each of its
results is as it should be."""
import datetime
import json
import os
import pathlib
import random
import re
import signal
import subprocess
import sys
import textwrap
import time

import compare_frames
from lab import ROOT, Lab, at_once, begin, own_network, resident, stop, windowed

SHOWN = {"stdout": None, "stderr": None}
MULTICAST = "--set network_rtsp_s0_multicast_alwaysmulticast=1"  # a description with a group is for multicast clients
DEMO = {  # frames asked for, title, arguments
    "motion-jpeg": (90, "Motion JPEG over HTTP: 640x480, 15 frames a second, 6 s",
                    "--codec mjpeg --transport http --rate 15 --quality 80 --seconds 6"),
    "h264-udp": (175, "H.264 and AAC sound over UDP: 1280x720, 25 frames a second, and after 5 s 640x480 at 10",
                 "--audio --transport udp --size 1280x720 --quality 70 --seconds 10 --change 5s:640x480@10"),
    "h264-tcp": (150, "H.264 and G.711 sound over the RTSP connection: 1280x720, 25 frames a second, 6 s",
                 "--audio --audio-codec g711 --transport tcp --size 1280x720 --quality 70 --seconds 6")}


def demo(preset="release"):
    """Records from a simulated camera through the real library, and shows what arrived."""
    table = "   {:<12} {:>6} {:>10} {:>9} {:>6} {:>8} {:>14} {:>13}"
    rows, sounds = [], []
    with Lab("demo", preset) as lab:
        print("== starting a simulated camera that wants Digest credentials")
        camera = lab.camera("camera", "--profile audio --auth digest --seconds 300")
        print(f"   ready http={camera.http} rtsp={camera.rtsp}\n== asking the camera what it is")
        lab.host("query", "query --host-version 7.4.4.0 --save device.json", camera, **SHOWN).wait()
        for name, (asked, title, arguments) in DEMO.items():
            print("==", title)
            got = lab.outcome(name, lab.host(name, f"record --device device.json --out {name}.mkv --picture-at 2s:{name}-before.png "
                                                   f"--picture {name}.png {arguments}", **SHOWN), "camera", f"{name}*.mkv")
            times = (got.report["first_frame_seconds"] or 0, got.report["longest_pause_seconds"] or 0)
            rows.append((name, asked, got.report["frames"], got.decoded, got.report["gaps"], got.strange, *map("{:.2f}".format, times)))
            sound, codec = got.report["audio_frames"], lab.probe(f"{name}.mkv", "a", "codec_name")[0]
            sounds += [f"   {name}: {sound} frames of sound, {codec}"] * ("--audio" in arguments)
            yield got.status == got.strange == 0 and got.decoded >= asked * 0.95 and (sound > 0 or "--audio" not in arguments)
        print("== a dome: the head moves and an output flips while 12 s are recorded")
        yield move_head(lab)
    print("== what was delivered")
    print(table.format("recording", "asked", "delivered", "playable", "gaps", "foreign", "first after s", "longest pause"))
    print(*(table.format(*row) for row in rows), *sounds, sep="\n")
    print("   (playable: as ffprobe counts them; foreign: frames that the camera did not send just so)")
    print(f"   recordings and pictures: {os.path.relpath(lab.out)}/")


def move_head(lab):
    """A dome's head moves and its output flips while it is recorded; two pictures show it. A camera of its own."""
    camera = lab.camera("dome-camera", "--profile dome --input 1@3s=high --seconds 300")
    lab.host("dome-query", "query --save dome-device.json --quiet", camera).wait()
    running = [lab.host("dome", "record --device dome-device.json --transport tcp --rate 15 --seconds 12 --out dome.mkv "
                                "--picture-at 2s:dome-before.png --picture dome-after.png"),
               lab.host("dome-io", "io --device dome-device.json --set 0@5s=on --seconds 11 --quiet")]
    lab.host("dome-ptz", "ptz --device dome-device.json --property 16=S wait:3s right:2s zoom-in:2s").wait()
    lab.host("dome-preset", "preset --device dome-device.json add 'market street'").wait()
    statuses = [host.wait() for host in running]
    print(textwrap.indent("".join(re.findall(".*input.*\n", lab.text("dome-io"))), "   "), end="")
    print("   pictures:", *(os.path.relpath(lab.out / f"dome-{which}.png") for which in ("before", "after")))
    return not any(statuses)


BEFORE, AFTER, AT_ONCE = 5, 14, 2  # seconds of health around a fault; rows at a time
FAULT_ROW = "{:<9} {:<34} {:>4} {:>4} {:>4} {:>6} {:>7} {:>7} {:>7}  {:<12} {}"


def faults(what="all", seconds=11, preset="release"):
    """Plays each fault of the camera to a recording, two at a time. FAULT=TEXT plays those that hold that text."""
    rows = []
    with Lab("faults", preset, 14400) as lab:
        for transport in {"http": ("http",), "rtsp": ("udp", "tcp"), "all": ("http", "udp", "tcp")}[what]:
            trials = lab.trials(transport)
            rows += [(transport, played, marks, played, int(seconds)) for marks, played in trials if "m" not in marks]
            for name, marked in (("all-that-pass", lambda marks: set("pm") & set(marks)), ("all", lambda marks: "m" not in marks)):
                rows.append((transport, name, "ds", ",".join(played for marks, played in trials if marked(marks)), 60))
        rows = [row for row in rows if os.environ.get("FAULT", "") in f"{row[1]} {row[3]}"]
        print(FAULT_ROW.format("over", "fault", "bef", "dur", "aft", "back", "strange", "MB", "MB", "", "states"))
        well = list(at_once(AT_ONCE, lambda row: play_fault(lab, *row), rows))
    print(f"{sum(well)} of {len(rows)} rows are well")
    yield all(well) and bool(well)


def play_fault(lab, transport, name, marks, played, seconds):
    """One row: what the channel did before, during and after the fault. A fault of the session is there from the start."""
    before = 0 if "c" in marks else BEFORE
    seconds += BEFORE - before
    row, auth = f"{name}-{transport}", "digest" if "d" in marks else "basic" if "b" in marks else "none"
    camera = lab.camera(f"{row}-camera", f"--auth {auth} --seconds {before + seconds + AFTER + 60} "
                                         f"--fault {windowed(played, before, seconds)}")
    starts = time.time() + before
    ends = starts + seconds
    codec = "mjpeg" if transport == "http" else "h264"
    host = lab.host(row, f"record --codec {codec} --transport {transport} --size 320x240 --rate 15", camera)
    time.sleep(max(before - 0.2, 0.8))
    memory = [resident(host)]
    time.sleep(max(ends + AFTER - time.time(), 0))
    memory.append(resident(host))
    stop(host, signal.SIGINT)
    stop(camera.process)
    got = lab.outcome(row, host, f"{row}-camera")
    moments = [seconds_of(frame["delivered"]) for frame in got.frames]
    back = next((f"{moment - ends:.1f}" for moment in moments if moment >= ends), "-")
    counts = [sum(first <= moment < last for moment in moments) for first, last in ((0, starts), (starts, ends), (ends, 1e12))]
    verdict = ("SANITIZER" if lab.sanitized(row, f"{row}-camera") else f"STATUS {got.status}" if got.status
               else "STRANGE FRAMES" if got.strange and "s" not in marks else "NO FRAMES BEHIND IT" if back == "-" else "ok")
    # The channel's states by the seconds since the fault began; of those before it the last one.
    states = [(seconds_of(entry["time"]) - starts, entry["state"]) for entry in got.report["states"] or []]
    shown = [str(state) for at, state in states if at < 0][-1:] + [f"{state}@{at:.1f}" for at, state in states if at >= 0 and state != 3]
    shown[7:] = [f"and {len(shown) - 7} more"] * (len(shown) > 7)
    print(FAULT_ROW.format(transport, name, *counts, back, got.strange, *map("{:.1f}".format, memory), verdict, " ".join(shown)))
    return verdict == "ok"


def seconds_of(moment):
    return datetime.datetime.fromisoformat(moment).timestamp()


def foreign(frames=1100, preset="release"):
    """Records from GStreamer's RTSP server: over UDP and interleaved, with and without Digest, all four at once."""
    hosts, seconds = {}, int(frames) // 25 + 1
    with Lab("foreign", preset, seconds + 300) as lab:
        for auth in ("none", "digest"):
            camera = lab.camera(f"{auth}-camera", f"--auth {auth}")  # answers for the device all but RTSP
            server = lab.server(f"{auth}-server", f"{sys.executable} {ROOT}/scripts/foreign_server.py {auth} larkmoor", camera.http)
            for transport in ("udp", "tcp"):
                row = f"{transport}-{auth}"
                hosts[row] = lab.host(row, f"record --transport {transport} --property '14=1;video.mjpg;foreign/h264' "
                                           f"--seconds {seconds} --out {row}.mkv", server)
        print(f"{'':<12} {'frames':>8} {'decoded':>10} {'errors':>7} {'gaps':>6}")
        for row, host in hosts.items():
            got = lab.outcome(row, host, None, f"{row}.mkv")
            count, gaps, errors = got.report["frames"], got.report["gaps"], got.errors.count("\n")
            well = int(frames) <= count == got.decoded and errors == gaps == got.status == 0
            print(f"{row:<12} {count:>8} {got.decoded:>10} {errors:>7} {gaps:>6} "
                  + ("ok" if well else f"NOT WELL: larkmoor-host ended with {got.status}"))
            yield well


def longrun(seconds=600, *transports):
    """Records from a live encoder. CODEC, SIZE and PREFIX in the environment choose another stream and a priority."""
    own_network()
    codec, size, prefix = (os.environ.get(key, usual) for key, usual in (("CODEC", "h264"), ("SIZE", "1920x1080"), ("PREFIX", "")))
    for transport in transports or ("udp", "tcp", "multicast"):
        with Lab(f"longrun/{codec}/{transport}", limit=int(seconds) * 2 + 300) as lab:
            camera = lab.camera("camera", f"--seconds {int(seconds) + 120} " + MULTICAST * (transport == "multicast"), prefix)
            got = lab.outcome("host", lab.host("host", f"record --codec {codec} --transport {transport} --size {size} --bitrate 4000000 "
                                                       f"--seconds {seconds} --out recording.mkv", camera, prefix), None, "recording.mkv")
            if got.status:
                print(f"{transport}: larkmoor-host ended with {got.status}\n{lab.text('host')}")
            whole, summary = compare_frames.by_truth(lab.lines("camera.truth"), got.frames)
            print(f"{transport + ':':<10}{summary}")
            print(f"{'':10}{got.report['bytes'] * 8 / int(seconds) / 1e6:.2f} Mbit/s over {seconds} s, {got.report['gaps']} gaps by time")
            print(f"{'':10}{got.decoded} frames decoded, {got.errors.count(chr(10))} error lines")
            yield whole and not got.errors and got.status == 0 and got.decoded == len(got.frames)


def lossrun(seconds=60, preset="release"):
    """Records H.264 over UDP while packets are lost, come twice or late, with one and with four slices to a picture."""
    def play(row):
        slices, played = row
        name = f"{re.sub('[=.0-9]', '', played)},{slices}-slices"
        camera = lab.camera(f"{name}-camera", f"--fault {played} --set videoin_c0_s0_h264_slices={slices} --truth-units {name}.units "
                                              f"--seconds {int(seconds) + 60}")
        got = lab.outcome(name, lab.host(name, f"record --transport udp --seconds {seconds} --raw {name}.h264", camera))
        stop(camera.process)
        if got.status:
            return name, False, lab.text(name)
        return name, *compare_frames.by_units(lab.lines(f"{name}-camera.truth"), got.frames, lab.lines(f"{name}.units"),
                                              (lab.out / f"{name}.h264").read_bytes())

    with Lab("lossrun", preset, int(seconds) + 300) as lab:
        each = [played for marks, played in lab.trials("udp") if played.startswith("rtp-") and "m" not in marks]
        for name, whole, table in at_once(8, play, [(slices, played) for slices in (1, 4) for played in (*each, ",".join(each))]):
            print(f"{name}: {'ok' if whole else 'NOT WELL'}\n{textwrap.indent(table, '   ')}")
            yield whole


def profiles(seconds=5, preset="release"):
    """Asks a camera of every profile what it is, and records with the saved device file in each codec that it named."""
    table = "   {:<11} {:>7} {:<6} {:<5} {:>9} {:>7} {:>8}  {}"
    print(table.format("profile", "channel", "codec", "over", "size", "frames", "foreign", "").rstrip())
    with Lab("profiles", preset, float(seconds) * 50 + 600) as lab:
        manual = subprocess.run([lab.cameras / "larkmoor-camera", "--help"], text=True, stdout=subprocess.PIPE).stdout
        for profile in re.findall(r"^  (\S+)", manual.split("Profiles:")[1].split("Faults")[0], re.MULTILINE):
            camera = lab.camera(profile, f"--profile {profile} --auth digest --seconds 600")
            if lab.host(f"{profile}-query", f"query --save {profile}.device --quiet", camera).wait():
                print(f"   {profile}: the query failed")
                yield False
                continue
            device = json.loads((lab.out / f"{profile}.device").read_text())
            size = max((entry["size"] for entry in device["sizes"]), key=lambda size: [int(side) for side in size.split("x")])
            channel, over_rtsp = device["channels"] - 1, device["properties"]["14"].split(";")[2]
            ways = [(codec, transport) for codec in sorted(device["codecs"]) for transport in ("udp", "tcp")
                    if codec != "mjpeg" or (transport == "udp" and over_rtsp)]
            for codec, transport in [("mjpeg", "http"), *ways]:
                name = f"{profile}-{codec}-{transport}"
                host = lab.host(name, f"record --device {profile}.device --channel {channel} --codec {codec} --transport {transport} "
                                      f"--size {size} --rate 10 --seconds {seconds} --patience 10s --quiet")
                got = lab.outcome(name, host, profile)
                well = got.status == got.strange == 0 < len(got.frames)
                print(table.format(profile, channel, codec, transport, size, len(got.frames), got.strange, "ok" if well else "FAILED"))
                yield well
            stop(camera.process)


def by_dice(dice, faults, seconds):
    """One fault at a time for 2 to 9 s, with 3 to 12 s of health between."""
    at = 5
    while at < seconds - 60:
        lasts = dice.randint(2, 9)
        yield f"--fault {windowed(dice.choice(faults), at, lasts)}"
        at += lasts + dice.randint(3, 12)


def soak(seconds=3600, preset="asan", seed=1):
    """Eight channels in four processes of two, under faults by dice, with the memory of each process as a series."""
    seconds = int(seconds)
    hosts, early, last = {}, {}, {}
    with Lab("soak", preset, seconds + 300) as lab:
        for number, name in enumerate(("udp-1", "udp-2", "tcp", "http"), int(seed) * 10 + 1):
            transport = name.split("-")[0]
            played = [played for marks, played in lab.trials(transport) if not set("dm") & set(marks)]
            camera = lab.camera(f"{name}-camera", f"--seed {number} --seconds {seconds + 60} "
                                + " ".join(by_dice(random.Random(number), played, seconds)))
            codec = "mjpeg" if transport == "http" else "h264"
            hosts[name] = lab.host(name, f"load --codec {codec} --transport {transport} --size 320x240 --rate 10 --quality 60 "
                                         f"--drivers 2 --seconds {seconds} --quiet", camera)
        print(("{:>8}" * 5).format("minute", *hosts) + "   (resident MB of each process)")
        step, begun = 60 if seconds >= 1200 else seconds // 20 + 1, time.time()
        while time.time() < begun + seconds - 5:
            time.sleep(step)
            passed, running = time.time() - begun, {name: resident(host) for name, host in hosts.items() if host.poll() is None}
            last |= running
            early |= running if passed <= seconds / 6 + step else {}
            print(f"{passed / 60:>8.1f}" + "".join(f"{memory:>8.0f}" for memory in running.values()))
        for name, host in hosts.items():
            status, first, final = host.wait(), early.get(name, 0), last.get(name, 0)
            frames = (lab.report(name)["rounds"] or [{}])[-1].get("frames", "no")
            print(f"{name}: exit status {status}, {frames} frames, {first:.0f} MB after the first sixth, {final:.0f} MB at the end")
            yield status == 0 and final <= first * 1.1 + 4 and not lab.sanitized(name, f"{name}-camera")
            if final > first * 1.1 + 4:
                print(name, "grew")


def soak_host(count=2000, preset="asan", seed=1):
    """A host that stalls, throws and refuses opens, uses and closes drivers, 32 at a time; then an eighth over multicast."""
    multicast = own_network(needed=False)
    os.environ |= {"ASAN_OPTIONS": "quarantine_size_mb=64:detect_leaks=1", "MALLOC_ARENA_MAX": "2"}
    dome = "dome --input 0@1s/500ms=flip"
    runs = {"mixed": (int(count), [f"h264/udp {dome}", "h264/tcp audio", "mpeg4/udp audio", f"mpeg4/tcp {dome}", f"mjpeg/udp {dome}",
                                   "mjpeg/tcp audio", f"mjpeg/http {dome}",
                                   "h264/udp audio --fault freeze@2s"])}  # the driver reports the lost signal
    if multicast:
        runs["multicast"] = (int(count) // 8 + 4, [f"h264/multicast audio {MULTICAST}", f"mpeg4/multicast {dome} {MULTICAST}",
                                                   f"mjpeg/multicast {dome} {MULTICAST}"])
    else:
        print("no network of our own: multicast is left out")
    with Lab(f"soak-host/{preset}", preset, int(count) * 3 + 1200) as lab:
        for name, (cycles, kinds) in runs.items():
            print("==", name)
            streams = ""
            for number, (stream, arguments) in enumerate(kind.split(" ", 1) for kind in kinds):
                camera = lab.camera(f"{name}-camera-{number}", f"--profile {arguments}")
                streams += f" {stream}:{camera.http}:{camera.rtsp}"
            status = lab.host(name, f"hostile --cycles {cycles} --seed {seed}{streams}").wait()
            print(re.sub(r".* of \d+ cycles, .*\n", "", lab.text(name)) + f"{name}: exit status {status}")
            yield status == 0 and not lab.sanitized(name)


EXAMPLES = {  # of docs/gstreamer.md: seconds, what runs beside it once it prints its address, what has to come of it
    "record": (15, "", lambda lab: int(lab.probe("door-00000.mkv", "v", "nb_read_frames")[0]) > 50),
    "preview": (10, "", lambda lab: "Setting pipeline to PLAYING" in lab.text("preview") and "ERROR" not in lab.text("preview")),
    "restream": (40, "ffmpeg -v error -rtsp_transport tcp -i rtsp://127.0.0.1:18555/camera -t 3 -c copy -y restream.mkv",
                 lambda lab: int(lab.probe("restream.mkv", "v", "nb_read_frames")[0]) > 25),
    "webrtc": (60, f"{sys.executable} {ROOT}/tests/gstreamer/webrtc_viewer.py http://127.0.0.1:18556/ 50", lambda lab: True),
    "wall": (15, "", lambda lab: int(lab.probe("wall.mkv", "v", "nb_read_frames")[0]) > 25
             and lab.probe("wall.mkv", "v", "width,height")[0] == "1280,960"),
    "analyse": (60, "", lambda lab: lab.text("analyse").count("brightness") == 10)}


def gstreamer(preset="gstreamer", *names):
    """Runs the examples of docs/gstreamer.md, as they are written there, against a simulated camera."""
    for name in names or EXAMPLES:
        seconds, beside, came = EXAMPLES[name]
        with Lab(f"gstreamer/{name}", preset, 180) as lab:
            os.environ |= {"GST_PLUGIN_PATH": f"{lab.build}/gstreamer", "GST_REGISTRY": f"{lab.out}/registry"}
            lab.start("plugins", "gst-inspect-1.0 larkmoorsrc").wait()  # looks through all plugins, which takes some seconds
            camera = lab.camera("camera", "--seconds 300")
            os.environ["CAMERA"] = f"larkmoor://root@127.0.0.1:{camera.http}/?rtsp-port={camera.rtsp}"
            text = re.search(rf"^```sh {name}\n(.*?)^```$", pathlib.Path("docs/gstreamer.md").read_text(), re.MULTILINE | re.DOTALL)[1]
            text = text.replace("examples/", f"{ROOT}/examples/").replace("8555", "18555").replace("8556", "18556")
            (lab.out / f"{name}.sh").write_text(f"exec {text}")
            display = "xvfb-run -a" if name == "preview" else ""
            example = lab.start(name, f"timeout --signal=INT --kill-after=20 {seconds} {display} bash {name}.sh")
            well = True
            if beside:
                while example.poll() is None and not re.search("(rtsp|http)://", lab.text(name)):
                    time.sleep(0.1)
                well = lab.start(f"{name}-client", beside).wait() == 0
                stop(example)
            example.wait()
            well = well and came(lab)
            print(f"{name}: {'runs' if well else 'FAILED'}")
            if not well:
                print(*lab.text(name).splitlines()[-15:], sep="\n")
            yield well


def fuzz(seconds=60, *targets):
    """Each fuzzer, or those named, as many at a time as there are processors. What they find stays in build/fuzz/findings/."""
    def run(target):
        for folder in ("findings", f"corpus/{target}"):
            (lab.build / folder).mkdir(parents=True, exist_ok=True)
        status = lab.start(target, f"{lab.build}/{target}_fuzz -max_total_time={seconds} -timeout=10 -rss_limit_mb=2048 "
                                   f"-print_final_stats=1 -artifact_prefix={lab.build}/findings/{target}- "
                                   f"{lab.build}/corpus/{target} {ROOT}/fuzz/seeds/{target}").wait()
        text = lab.text(target)
        print(f"FINDING {target}: see {os.path.relpath(lab.out)}/{target}.log\n" + "\n".join(text.splitlines()[-20:]) if status else
              f"ok      {target}: {re.findall(r'number_of_executed_units: *([0-9]+)', text)[-1]} inputs in {seconds} s")
        return status == 0

    every = targets or sorted(source.name.removesuffix("_fuzz.cpp") for source in pathlib.Path("fuzz").glob("*_fuzz.cpp"))
    with Lab("fuzz", "fuzz", len(every) * (int(seconds) + 60) + 600) as lab:
        yield from at_once(os.cpu_count(), run, every)


ENDS = {"demo": ("demo: as it should be", "demo: fewer than 95 % of the asked frames, no sound, or a frame that was not sent"),
        "longrun": ("longrun: nothing lost", "longrun: NOT clean"), "soak": ("soak: clean", "soak: NOT clean"),
        "lossrun": ("lossrun: nothing wrong was delivered", "lossrun: NOT clean"),
        "soak_host": ("soak host: clean", "soak host: NOT clean")}

if __name__ == "__main__":
    begin()
    good = all(list(globals()[sys.argv[1]](*sys.argv[2:])))
    if sys.argv[1] in ENDS:
        print(ENDS[sys.argv[1]][not good])
    sys.exit(not good)
