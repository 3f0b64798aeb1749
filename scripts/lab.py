"""The laboratory: starts simulated cameras and bench hosts, reads what they report, and looks into recordings."""
import collections
import concurrent.futures
import contextlib
import json
import os
import pathlib
import re
import shlex
import shutil
import signal
import subprocess
import sys
from types import SimpleNamespace

ROOT = pathlib.Path(__file__).resolve().parent.parent


class Lab(contextlib.ExitStack):
    """The programs of one build, at work in a fresh folder; what still runs ends with the `with` block. Arguments are texts
    as for a shell. What is called NAME writes NAME.log; a camera also NAME.truth and NAME.requests; a bench host NAME.json,
    and NAME.frames if it records."""
    results = ROOT / "out"
    camera_build = None  # unless it is beside the bench host
    camera_arguments = ""

    def __init__(self, name, preset="release", limit=600):
        """After `limit` seconds the script exits, and all programs with it."""
        super().__init__()
        signal.alarm(int(limit))
        self.build = ROOT / "build" / preset
        self.cameras = self.camera_build or self.build
        self.out = self.results / name
        shutil.rmtree(self.out, ignore_errors=True)
        self.out.mkdir(parents=True)

    def start(self, name, command, **options):
        with open(self.out / f"{name}.log", "w", encoding="utf-8") as log:
            process = subprocess.Popen(shlex.split(command), cwd=self.out, text=True, **{"stdout": log, "stderr": log} | options)
        self.callback(stop, process)
        return process

    def server(self, name, command, http=None):
        """A program that prints its ports once it is ready."""
        process = self.start(name, command, stdout=subprocess.PIPE)
        ports = dict(re.findall(r"(\w+)=(\d+)", process.stdout.readline())) or sys.exit(self.text(name))
        return SimpleNamespace(process=process, http=ports.get("http", http), rtsp=ports["rtsp"])

    def camera(self, name, arguments, prefix=""):
        return self.server(name, f"{prefix} {self.cameras}/larkmoor-camera --truth {name}.truth --request-log {name}.requests "
                                 f"{self.camera_arguments} {arguments}")

    def host(self, name, arguments, server=None, prefix="", **options):
        verb, _, rest = arguments.partition(" ")
        ports = f"--user root --port {server.http}" + f" --rtsp-port {server.rtsp}" * (verb != "query") if server else ""
        frames = f"--frames {name}.frames" * (verb == "record")
        return self.start(name, f"{prefix} {self.build}/larkmoor-host {verb} {ports} --json {name}.json {frames} {rest}", **options)

    def outcome(self, name, host, camera=None, movies=""):
        """What came of a recording, once it has ended: `strange` is how many frames the camera did not send just so, `decoded`
        and `errors` what a player finds in the files that match `movies`."""
        status, frames = host.wait(), self.lines(f"{name}.frames")
        sent = {picture["md5"] for picture in self.lines(f"{camera}.truth")}
        probes = [self.probe(movie, "v", "nb_read_frames") for movie in (self.out.glob(movies) if movies else ())]
        return SimpleNamespace(status=status, report=self.report(name), frames=frames,
                               strange=len({frame["md5"] for frame in frames} - sent) if camera else None,
                               decoded=sum(int(count or 0) for count, _ in probes), errors="".join(errors for _, errors in probes))

    def text(self, name):
        return (self.out / f"{name}.log").read_text(errors="replace")

    def sanitized(self, *names):
        """True if a sanitizer found something in one of these programs."""
        return any(re.search(r"\w+Sanitizer|runtime error", self.text(name)) for name in names)

    def report(self, name):
        path = self.out / f"{name}.json"
        return collections.defaultdict(int, json.loads(path.read_text()) if path.exists() else {})

    def lines(self, name):
        """The objects of a file with one a line; a last line that was cut is left out."""
        path = self.out / name
        return [json.loads(line) for line in path.open() if line.endswith("\n")] if path.exists() else []

    def probe(self, movie, stream, entry):
        """What ffprobe says of the video or audio of a recording, and its complaints."""
        probe = subprocess.run(shlex.split(f"ffprobe -v error -count_frames -select_streams {stream} -of csv=p=0 "
                                           f"-show_entries stream={entry} {movie}"), cwd=self.out, text=True, capture_output=True)
        return probe.stdout.strip().strip(","), probe.stderr

    def trials(self, transport):
        """Marks and text of each fault that acts over a transport, as larkmoor-camera lists them."""
        listed = subprocess.run([self.cameras / "larkmoor-camera", "--list-faults"], check=True, text=True, stdout=subprocess.PIPE)
        trials = [trial.rpartition(":")[::2] for trial in listed.stdout.split()]
        return [(marks, faults) for marks, faults in trials if transport[0] in marks or not set("hut") & set(marks)]


def stop(process, how=signal.SIGTERM):
    """Ends a process, at the latest after 30 s."""
    if process.poll() is None:
        process.send_signal(how)
    with contextlib.suppress(subprocess.TimeoutExpired):
        process.wait(30)
    process.kill()


def at_once(count, work, items):
    """The results of `work` on all items, `count` at a time."""
    pool = concurrent.futures.ThreadPoolExecutor(count)
    try:
        yield from pool.map(work, items)
    finally:
        pool.shutdown(wait=False, cancel_futures=True)


def windowed(faults, start, seconds):
    return re.sub("[^,]+", rf"\g<0>@{start}s+{seconds}s", faults)


def resident(process):
    """MB of memory in use; 0 when the process has ended."""
    with contextlib.suppress(OSError):
        return int(pathlib.Path(f"/proc/{process.pid}/statm").read_text().split()[1]) * os.sysconf("SC_PAGESIZE") / 2**20
    return 0


def own_network(needed=True):
    """Continues in a network of its own that has a route for multicast; false if none is to be had and none is needed."""
    if "LARKMOOR_OWN_NETWORK" not in os.environ:
        unshare = ["unshare", "--net"] + ["--map-root-user"] * (os.getuid() != 0)
        if not needed and subprocess.run([*unshare, "true"], stderr=subprocess.DEVNULL).returncode:
            return False
        os.environ["LARKMOOR_OWN_NETWORK"] = "1"
        os.execvp("unshare", [*unshare, sys.executable, *sys.argv])
    subprocess.run("ip link set lo up && ip route replace 224.0.0.0/4 dev lo src 127.0.0.1", shell=True, check=True)
    return True


def begin():
    """What every script needs around it: the project's folder, the password, and memory that is given back."""
    os.chdir(ROOT)
    sys.stdout.reconfigure(line_buffering=True)
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    signal.signal(signal.SIGALRM, lambda *_: sys.exit("a program did not end in time"))
    os.environ |= {"LARKMOOR_PASSWORD": "larkmoor", "LARKMOOR_CAMERA_PASSWORD": "larkmoor", "MALLOC_TRIM_THRESHOLD_": "65536",
                   "ASAN_OPTIONS": "quarantine_size_mb=8:detect_leaks=1", "UBSAN_OPTIONS": "print_stacktrace=1",
                   "PATH": f"/usr/bin:{os.environ['PATH']}"}  # the Python there has GStreamer's bindings
