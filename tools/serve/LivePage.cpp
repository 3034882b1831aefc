// The live page: one document with its style and script, no other files.
// The script asks for the state and the picture five times a second, puts
// the picture in the page (so its elements can be inspected) and exposes the
// last state as window.v2xState and in the hidden #v2x-state element.
#include "LiveServer.h"

const char* const LIVE_PAGE_HTML = R"page(<!doctype html>
<html lang="en"><head><meta charset="utf-8"><title>v2xshm: the unit, live</title>
<style>
body { margin: 0; font: 14px sans-serif; display: flex; height: 100vh; color: #222; }
#map { flex: 1; min-width: 0; background: #f6f6f2; }
#map svg { width: 100%; height: 100%; }
#panel { width: 330px; padding: 8px 14px; border-left: 1px solid #bbb; overflow: auto; }
h2 { font-size: 15px; margin: 14px 0 4px; }
.dot { display: inline-block; width: 12px; height: 12px; border-radius: 6px; margin-right: 6px; vertical-align: middle; }
.absent { color: #b00; }
.big { font-size: 22px; font-weight: bold; }
table { border-collapse: collapse; } td { padding: 1px 6px 1px 0; }
#status { color: #b00; }
</style></head>
<body>
<div id="map"></div>
<div id="panel">
<h2>Approach</h2><div id="approach">-</div>
<h2>Targets</h2><div id="targets">-</div>
<h2>Lists</h2><div id="absent"></div><table id="lists"></table>
<p id="status">waiting for the server</p>
<pre id="v2x-state" hidden></pre>
</div>
<script>
"use strict";
const COLOURS = { 2: "#d22", 3: "#d22", 4: "#e80", 5: "#2a2", 6: "#2a2", 7: "#eb0", 8: "#eb0", 9: "#eb0" };
const $ = (id) => document.getElementById(id);
let updates = 0, busy = false;

function el(tag, text, cls) {
  const e = document.createElement(tag);
  if (text !== undefined) e.textContent = text;
  if (cls) e.className = cls;
  return e;
}
function kmh(mps) { return Math.round(mps * 3.6); }
function adviceText(a) {
  if (!a) return "";
  if (a.advice === "go") return "go at " + kmh(a.lowMps) + "-" + kmh(a.highMps) + " km/h";
  return a.advice === "stop" ? "stop at the line" : "no advice";
}

function showApproach(s) {
  const box = $("approach");
  box.replaceChildren();
  if (!s.location) { box.append(el("div", "not located")); return; }
  box.append(el("div", Math.round(s.location.dis2StopLine * 10) / 10 + " m", "big"));
  box.append(el("div", "to the stop line of node " + s.location.nodeId + " (link from " +
                s.location.upstreamNodeId + ")"));
  if (s.fix) box.append(el("div", "speed " + kmh(s.fix.speed) + " km/h, heading " + s.fix.heading + " deg"));
  if (!s.approach) { box.append(el("div", "no signal state")); return; }
  if (!s.approach.lightReceived) box.append(el("div", "no light received"));
  for (const m of s.approach.movements) {
    const line = el("div");
    const dot = el("span", "", "dot");
    dot.style.background = COLOURS[m.light] || "#999";
    line.append(dot, "to " + m.remoteNodeId + " (phase " + m.phaseId + "): " + m.lightName +
                (m.remaining === null ? "" : ", " + m.remaining.toFixed(1) + " s"));
    const advice = adviceText(m.advice);
    if (advice) line.append(el("div", advice));
    box.append(line);
  }
}

function showTargets(s) {
  const box = $("targets");
  box.replaceChildren();
  if (!s.targets || s.targets.length === 0) { box.textContent = "none"; return; }
  const table = el("table");
  for (const t of s.targets) {
    const tr = el("tr");
    const deg = Math.round(t.angle * 180 / Math.PI);  // radians from the heading, positive to the right
    tr.append(el("td", t.id || ("#" + t.localID)), el("td", Math.round(t.distance) + " m"),
              el("td", Math.abs(deg) + " deg " + (deg > 0 ? "right" : deg < 0 ? "left" : "ahead")));
    table.append(tr);
  }
  box.append(table);
}

function showLists(s) {
  $("absent").textContent = s.absent.length ? "absent: " + s.absent.join(", ") : "every list present";
  $("absent").className = s.absent.length ? "absent" : "";
  const table = $("lists");
  table.replaceChildren();
  for (const l of s.lists) {
    const tr = el("tr");
    const state = !l.present ? "absent" : !l.read ? "unreadable" :
                  l.ageSeconds === null ? "present" : l.ageSeconds.toFixed(1) + " s";
    tr.append(el("td", l.name), el("td", state, l.present ? "" : "absent"));
    table.append(tr);
  }
}

async function tick() {
  if (busy) return;
  busy = true;
  try {
    const [state, svg] = await Promise.all([fetch("/api/state").then((r) => r.json()),
                                            fetch("/map.svg").then((r) => r.text())]);
    const picture = new DOMParser().parseFromString(svg, "image/svg+xml").documentElement;
    if (picture.nodeName === "svg") $("map").replaceChildren(document.importNode(picture, true));
    showApproach(state);
    showTargets(state);
    showLists(state);
    state.updates = ++updates;
    window.v2xState = state;
    $("v2x-state").textContent = JSON.stringify(state);
    $("status").textContent = "";
  } catch (e) {
    $("status").textContent = "the server does not answer";
  }
  busy = false;
}
setInterval(tick, 200);
tick();
</script>
</body></html>
)page";
