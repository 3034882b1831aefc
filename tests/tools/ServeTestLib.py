"""Helpers for the live page's tests: the tool's processes, HTTP requests and
the sample intersection's drive. Run inside private IPC and network
namespaces (loopback only), so fixed keys and ports are safe."""
import atexit
import http.client
import json
import subprocess
import sys
import time

PORT = 8080
FAILED = []


def check(name, ok, detail=""):
    print(("ok   " if ok else "FAIL ") + name + ("" if ok else "  " + str(detail)), flush=True)
    if not ok:
        FAILED.append(name)


def finish():
    print("%d failed" % len(FAILED))
    sys.exit(1 if FAILED else 0)


class Unit:
    """The tool (argv[1]), the sample writer (argv[2]) and the data folder (argv[3])."""

    def __init__(self, argv, work):
        self.tool, self.sample, self.data, self.work = argv[1], argv[2], argv[3], work
        self.owner = self.server = None
        self.started = []
        # A failing test leaves nothing running that would keep its output open.
        atexit.register(lambda: [p.kill() for p in self.started if p.poll() is None])

    def run(self, *args):
        return subprocess.run([self.tool, *args], capture_output=True, text=True, timeout=30)

    def json(self, *args):
        return json.loads(self.run("--json", *args).stdout)

    def start(self, *args, ready):
        proc = subprocess.Popen([self.tool, *args], stdout=subprocess.PIPE, text=True)
        self.started.append(proc)
        line = proc.stdout.readline()
        assert line.startswith(ready), "%s: %r" % (args, line)
        return proc

    def start_owner(self):
        self.owner = self.start("owner", ready="owning ")

    def stop(self, proc):
        proc.terminate()
        return proc.wait(timeout=10)

    def start_server(self):
        self.server = self.start("serve", "--port", str(PORT), ready="serving http://127.0.0.1:%d/" % PORT)

    def load_intersection(self):
        self.run("map", "load", self.data + "/sample-intersection.map")
        self.run("rsi", "load", self.data + "/sample-rsi.rsi", "--source", "rsu-1001")
        self.send_lights(0.0)

    def send_lights(self, at):
        path = self.work + "/lights.tl"
        subprocess.run([self.sample, "signal", path, "--at", "%.1f" % at], check=True, capture_output=True)
        self.run("signal", "load", path)

    def drive_step(self, north, at):
        """The demo's car, `north` metres along Mill Rd, `at` seconds into its drive."""
        lon = 120.12 + 5.25 / (111195 * 0.8660254037844387)
        lat = 30 + north / 111195
        self.run("gnss", "push", "--lon", "%.9f" % lon, "--lat", "%.9f" % lat, "--speed", "12.5", "--heading", "0")
        self.send_lights(at)
        self.run("obu", "push", "--id", "obu-b", "--lon", "120.1212", "--lat", "30.0000472", "--speed", "8",
                 "--heading", "270")
        self.run("targets", "build")
        return self.json("locate", "--gnss")


def get(path, method="GET", timeout=5):
    conn = http.client.HTTPConnection("127.0.0.1", PORT, timeout=timeout)
    conn.request(method, path)
    res = conn.getresponse()
    body = res.read()
    conn.close()
    return res.status, dict(res.getheaders()), body


def get_json(path):
    status, _, body = get(path)
    return status, json.loads(body) if status == 200 else None


def without(doc, keys):
    """The document with the members named in `keys` dropped, at every depth."""
    if isinstance(doc, dict):
        return {k: without(v, keys) for k, v in doc.items() if k not in keys}
    if isinstance(doc, list):
        return [without(v, keys) for v in doc]
    return doc
