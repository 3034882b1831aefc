"""The live page's server without a browser: each list's JSON is the tool's,
only GET and HEAD are answered, a client that never reads stalls nobody, and
an owner that stops and comes back is followed.
Usage: ServeEndpointTest.py TOOL MAKESAMPLE DATA_DIR"""
import socket
import sys
import tempfile
import time

from ServeTestLib import Unit, check, finish, get, get_json, without

work = tempfile.mkdtemp()
unit = Unit(sys.argv, work)
unit.start_server()

# Without an owner: every list absent, and nothing created by looking.
status, state = get_json("/api/state")
check("no owner: every list absent", status == 200 and len(state["absent"]) == len(state["lists"]), state)
check("no owner: a list says it is absent", get_json("/api/list/map")[1] == {"list": "map", "present": False})
with open("/proc/sysvipc/shm") as f:
    check("no owner: no segment created", len(f.readlines()) == 1)

unit.start_owner()
unit.load_intersection()
unit.drive_step(-60.0, 0.0)
time.sleep(0.3)

# Each list as the tool's `show ... --json` gives it, but for what ages.
AGES = {"age", "ageSeconds", "remaining", "now", "predicted"}
SHOWN = {"gnss": ["show", "gnss"], "map": ["show", "map"], "lights": ["show", "signals"], "rsi": ["show", "rsi"],
         "location": ["show", "location"], "phaseresult": ["show", "phases"],
         "rsiresult": ["show", "rsi-results"], "obu": ["show", "obu"], "ptc": ["show", "ptc"],
         "rsu": ["show", "rsu"], "targets": ["show", "targets"], "collisions": ["show", "collisions"],
         "vehicle": ["show", "vehicle"]}
status, names = get_json("/api/lists")
check("lists named", status == 200 and set(SHOWN) <= set(names), names)
for name in names:
    status, served = get_json("/api/list/" + name)
    check("list %s served" % name, status == 200 and served.get("present") is not False, served)
    if name in SHOWN:
        shown = unit.json(*SHOWN[name])
        check("list %s as the tool shows it" % name, without(served, AGES) == without(shown, AGES),
              (served, shown))
state = get_json("/api/state")[1]
check("state: located", state["location"]["nodeId"] == 1001 and state["absent"] == [], state)
check("state: approach with advice", len(state["approach"]["movements"]) == 3 and
      all(m["advice"] for m in state["approach"]["movements"]), state["approach"])
check("state: the other vehicle a target", [t["id"] for t in state["targets"]] == ["obu-b"], state["targets"])

# Methods and paths.
for method in ["POST", "PUT", "DELETE", "PATCH", "OPTIONS"]:
    status, headers, _ = get("/api/state", method)
    check("%s refused" % method, status == 405 and headers.get("Allow") == "GET, HEAD", (status, headers))
status, headers, body = get("/", "HEAD")
check("HEAD answered without a body", status == 200 and body == b"" and int(headers["Content-Length"]) > 1000)
for path in ["/nope", "/api/list/nope", "/api/list/MAP", "/map.svg/x"]:
    check("unknown path %s" % path, get(path)[0] == 404)

# Clients that connect and never send, or ask and never read, stall nobody.
silent = [socket.create_connection(("127.0.0.1", 8080)) for _ in range(3)]
reader = socket.create_connection(("127.0.0.1", 8080))
reader.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
reader.sendall(b"GET /api/list/map HTTP/1.1\r\nHost: x\r\n\r\n" * 50)
started = time.monotonic()
answers = []
for _ in range(10):
    try:
        answers.append(get("/api/state", timeout=2)[0])
    except OSError as e:
        answers.append(e)
check("others served beside stalled clients", answers == [200] * 10 and time.monotonic() - started < 2.0,
      (answers, time.monotonic() - started))
for s in silent + [reader]:
    s.close()

# The owner stops and comes back.
check("owner stopped", unit.stop(unit.owner) == 0)
time.sleep(0.3)
state = get_json("/api/state")[1]
check("owner gone: lists absent, no location", len(state["absent"]) == len(names) and state["location"] is None)
unit.start_owner()
unit.load_intersection()
time.sleep(0.3)
status, nodes = get_json("/api/list/map")
check("owner back: the map served again", status == 200 and nodes.get("count") == 2, nodes)
check("owner back: absent lists named", "location" not in get_json("/api/state")[1]["absent"])

check("server stops on SIGTERM", unit.stop(unit.server) == 0)
unit.stop(unit.owner)
finish()
