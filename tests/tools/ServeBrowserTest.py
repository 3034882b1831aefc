"""The live page in a real browser (headless Chromium through its WebDriver):
while the demo's car drives up Mill Rd, the page's state follows the lists.
Usage: ServeBrowserTest.py TOOL MAKESAMPLE DATA_DIR SCREENSHOT.png"""
import base64
import json
import subprocess
import sys
import tempfile
import time
import urllib.request

from ServeTestLib import PORT, Unit, check, finish

DRIVER = "http://127.0.0.1:9515"


def webdriver(method, path, body=None):
    data = json.dumps(body).encode() if body is not None else None
    req = urllib.request.Request(DRIVER + path, data=data, method=method,
                                 headers={"Content-Type": "application/json"})
    with urllib.request.urlopen(req, timeout=60) as res:
        return json.loads(res.read())["value"]


def page_state(session, newer_than):
    """The page's state (window.v2xState) once it shows a location computed
    after `newer_than`."""
    for _ in range(50):
        state = webdriver("POST", "/session/%s/execute/sync" % session,
                          {"script": "return window.v2xState || null;", "args": []})
        if state and state["location"] and state["location"]["refreshTime"] >= newer_than:
            return state
        time.sleep(0.1)
    raise AssertionError("the page did not follow the lists")


work = tempfile.mkdtemp()
unit = Unit(sys.argv, work)
unit.start_owner()
unit.load_intersection()
unit.start_server()
driver = subprocess.Popen(["chromedriver", "--port=9515"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
for _ in range(100):
    try:
        webdriver("GET", "/status")
        break
    except OSError:
        time.sleep(0.1)
session = webdriver("POST", "/session", {"capabilities": {"alwaysMatch": {"goog:chromeOptions": {
    "binary": "/usr/bin/chromium",
    "args": ["--headless=new", "--no-sandbox", "--disable-gpu", "--window-size=1280,800",
             "--user-data-dir=" + work + "/profile"]}}}})["sessionId"]
try:
    webdriver("POST", "/session/%s/url" % session, {"url": "http://127.0.0.1:%d/" % PORT})
    samples = []
    started = time.time()
    # Half a second a step: the light ahead turns green about 4 s in.
    for north in [-110.0, -100.0, -90.0, -80.0, -70.0, -60.0, -50.0, -40.0, -30.0, -20.0]:
        time.sleep(max(0.0, started + 0.5 * len(samples) - time.time()))
        located = unit.drive_step(north, time.time() - started)
        published = unit.json("show", "phases")
        state = page_state(session, located["location"]["refreshTime"])
        samples.append((north, state, published))

    lats = [s["fix"]["latitude"] for _, s, _ in samples]
    check("the vehicle moved north along the approach", lats == sorted(lats) and lats[0] < lats[-1], lats)
    check("the page's location is the approach to node 1001",
          all(s["location"]["nodeId"] == 1001 and s["location"]["upstreamNodeId"] == 1005 for _, s, _ in samples))
    distances = [s["location"]["dis2StopLine"] for _, s, _ in samples]
    check("the distance to the stop line shrank", all(a > b for a, b in zip(distances, distances[1:])), distances)
    check("the distance is the car's", all(abs(d - (-15.0 - n)) < 2.0 for (n, _, _), d in zip(samples, distances)),
          distances)
    for north, state, published in samples:
        page = {m["remoteNodeId"]: m for m in state["approach"]["movements"]}
        for listed in published["phases"]:
            shown = page[listed["remoteNodeId"]]
            # The page evaluates the light when it samples, the list when
            # the car was located: the count-down differs by that time.
            elapsed = state["takenAt"] - listed["refreshTime"]
            expected = listed["remainingTenths"] / 10.0 - elapsed
            near_change = expected < 0.5
            check("at %.0f m, to %d: the page's light is the list's" % (north, listed["remoteNodeId"]),
                  near_change or (shown["light"] == listed["light"] and abs(shown["remaining"] - expected) < 0.3),
                  (shown, listed, elapsed))
        panel = webdriver("POST", "/session/%s/execute/sync" % session,
                          {"script": "return document.getElementById('approach').textContent;", "args": []})
        check("at %.0f m: the panel shows the distance and the light" % north,
              "node 1001" in panel and page[1003]["lightName"] in panel, panel)
    lights = [s["approach"]["movements"][1]["lightName"] for _, s, _ in samples]
    check("the light ahead changed during the drive", len(set(lights)) > 1, lights)
    check("the page refreshes at least 5 times a second",
          samples[-1][1]["updates"] - samples[0][1]["updates"] >= 4 * (samples[-1][1]["takenAt"] - samples[0][1]["takenAt"]))
    with open(sys.argv[4], "wb") as f:
        f.write(base64.b64decode(webdriver("GET", "/session/%s/screenshot" % session)))
    print("screenshot: " + sys.argv[4])
finally:
    webdriver("DELETE", "/session/" + session)
    driver.terminate()
    driver.wait()
    unit.stop(unit.server)
    unit.stop(unit.owner)
finish()
