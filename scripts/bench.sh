#!/usr/bin/env bash
# Builds the host benchmarks, runs them in a private IPC namespace and prints
# each transfer's cost against its floor measured in the same run.
# Usage: scripts/bench.sh [extra Google Benchmark options]
# Environment: V2XSHM_BUILD_DIR (default build/host), BENCH_REPETITIONS (default 5).
set -euo pipefail

ROOT="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
BUILD="${V2XSHM_BUILD_DIR:-$ROOT/build/host}"
REPS="${BENCH_REPETITIONS:-5}"
OUT="$BUILD/bench-results.json"

if [ ! -f "$BUILD/build.ninja" ]; then
    if [ "$BUILD" = "$ROOT/build/host" ] && [ -f "$ROOT/CMakePresets.json" ]; then
        (cd "$ROOT" && cmake --preset host >/dev/null)
    else
        cmake -S "$ROOT" -B "$BUILD" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DV2XSHM_BUILD_BENCH=ON >/dev/null
    fi
fi
if ! grep -q '^V2XSHM_BUILD_BENCH:BOOL=ON' "$BUILD/CMakeCache.txt"; then
    cmake -S "$ROOT" -B "$BUILD" -DV2XSHM_BUILD_BENCH=ON >/dev/null
fi
ninja -C "$BUILD" -j2 v2xshm_bench

# Interleaved repetitions: a transfer and its floor see the same machine load.
unshare --ipc --map-root-user "$BUILD/bench/v2xshm_bench" \
    --benchmark_repetitions="$REPS" --benchmark_enable_random_interleaving=true \
    --benchmark_report_aggregates_only=true \
    --benchmark_out="$OUT" --benchmark_out_format=json "$@"

# Ratios of medians: (label, measured benchmark, its floor). Append new pairs.
python3 - "$OUT" <<'PY'
import json, sys
PAIRS = [
    ("config commit (6660 B) / memset+memcpy", "BM_Commit2SHM/6660", "BM_CommitFloor/6660"),
    ("config update (6660 B) / memcpy",        "BM_UpdateFromSHM/6660", "BM_UpdateFloor/6660"),
    ("1 MiB commit / memset+memcpy",           "BM_Commit2SHM/1048576", "BM_CommitFloor/1048576"),
    ("1 MiB update / memcpy",                  "BM_UpdateFromSHM/1048576", "BM_UpdateFloor/1048576"),
    ("list lock P+V / bare semop pair",        "BM_SemaphorePV", "BM_SemopPairFloor"),
    ("list lock P+V / shared pthread mutex",   "BM_SemaphorePV", "BM_SharedMutexPair"),
    ("sample map DeSerialize / memcpy",        "BM_MapDeSerialize/0", "BM_MapMessageMemcpyFloor/0"),
    ("large map DeSerialize / memcpy",         "BM_MapDeSerialize/1", "BM_MapMessageMemcpyFloor/1"),
    ("sample map checked / trusted decode",    "BM_MapDeSerializeChecked/0", "BM_MapDeSerialize/0"),
    ("large map checked / trusted decode",     "BM_MapDeSerializeChecked/1", "BM_MapDeSerialize/1"),
    ("map update (505 KiB) / 1 MiB memcpy",    "BM_MapUpdateHalfList", "BM_Memcpy1MiBFloor"),
    ("location search / bare geometry",        "BM_MapLocation", "BM_MapLocationGeometryFloor"),
    ("ptc refresh in 256 / semop+memcmp scan", "BM_PtcRefreshInFullList", "BM_PtcRefreshFloor"),
    ("ptc update (256) / locked memcpy",       "BM_PtcUpdateFullList", "BM_PtcUpdateLockedFloor"),
    ("ptc update (256) / bare memcpy",         "BM_PtcUpdateFullList", "BM_PtcUpdateFloor"),
    ("64 lights insert / memcpy of their bytes", "BM_TLInsert/64/0", "BM_TLMemcpyFloor/64"),
]
medians = {}
for b in json.load(open(sys.argv[1]))["benchmarks"]:
    if b.get("aggregate_name") == "median":
        medians[b["run_name"]] = (b["real_time"], b["cpu_time"], b["time_unit"])
print()
print("%-42s %10s %10s" % ("ratio (medians)", "real", "cpu"))
for label, bench, floor in PAIRS:
    if bench in medians and floor in medians:
        b, f = medians[bench], medians[floor]
        print("%-42s %9.2fx %9.2fx" % (label, b[0] / f[0], b[1] / f[1]))
PY

# The local map's figures against their targets: decoding speed beside
# memcpy, update within 5x of copying 1 MiB, at most 40 ns per segment.
python3 - "$OUT" <<'PY'
import json, sys
runs = {}
for b in json.load(open(sys.argv[1]))["benchmarks"]:
    if b.get("aggregate_name") == "median":
        runs[b["run_name"]] = b
if "BM_MapDeSerialize/0" not in runs:
    sys.exit(0)
print()
print("local map (medians)")
for arg, what in (("0", "sample intersection"), ("1", "large synthetic map")):
    d, c, m = (runs.get(n + "/" + arg) for n in ("BM_MapDeSerialize", "BM_MapDeSerializeChecked", "BM_MapMessageMemcpyFloor"))
    if d and c and m:
        print("  DeSerialize, %-20s %8.0f MB/s (checked %6.0f MB/s, memcpy %8.0f MB/s), %d bytes"
              % (what, d["bytes_per_second"] / 1e6, c["bytes_per_second"] / 1e6, m["bytes_per_second"] / 1e6,
                 d["message_bytes"]))
u, f = runs.get("BM_MapUpdateHalfList"), runs.get("BM_Memcpy1MiBFloor")
if u and f:
    ratio = u["real_time"] / f["real_time"]
    print("  update() of a %d-byte image: %.0f us, %.1fx memcpy of 1 MiB (target 5x): %s"
          % (u["image_bytes"], u["real_time"] / 1000.0 if u["time_unit"] == "ns" else u["real_time"], ratio,
             "met" if ratio <= 5.0 else "NOT met"))
l, g = runs.get("BM_MapLocation"), runs.get("BM_MapLocationGeometryFloor")
if l and g:
    ns = l["time_per_segment"] * 1e9
    print("  location search: %.1f ns per segment over %d segments (bare geometry %.1f ns; target 40 ns): %s"
          % (ns, l["segments"], g["time_per_segment"] * 1e9, "met" if ns <= 40.0 else "NOT met"))
PY

# Every target beside its floor: medians of interleaved repetitions, marked
# on CPU time (the machine may be shared; real time beside). The advisory
# cycle is scaled to the target by the ratio of a 1 MiB memcpy there (about
# 1 ms, the figure the project's target measurements give) to the one
# measured here in the same run.
python3 - "$OUT" <<'PY'
import json, sys
runs = {}
for b in json.load(open(sys.argv[1]))["benchmarks"]:
    if b.get("aggregate_name") == "median":
        runs[b["run_name"]] = b
def us(b, key):
    scale = {"ns": 1e-3, "us": 1.0, "ms": 1e3, "s": 1e6}[b["time_unit"]]
    return b[key] * scale
ROWS = [  # (figure, measured, floor, target ratio)
    ("commit2SHM 1 MiB / memset+memcpy", "BM_Commit2SHM/1048576", "BM_CommitFloor/1048576", 1.1),
    ("updateFromSHM 1 MiB / memcpy", "BM_UpdateFromSHM/1048576", "BM_UpdateFloor/1048576", 1.1),
    ("node list update / copy+decode", "BM_MapUpdateHalfList", "BM_MapUpdateFloor", 1.5),
    ("light list update / copy+decode", "BM_TLUpdate", "BM_TLUpdateFloor", 1.5),
    ("RSI list update / copy+decode", "BM_RSIUpdate", "BM_RSIUpdateFloor", 1.5),
]
for n in (8, 64, 256):
    ROWS.append(("insertUpdateList %d lights / encode" % n, "BM_TLInsert/%d/0" % n, "BM_TLInsertFloor/%d/0" % n, 1.5))
    ROWS.append(("insertUpdateList %d + %d kept / encode+move" % (n, n), "BM_TLInsert/%d/1" % n,
                 "BM_TLInsertFloor/%d/1" % n, 1.5))
print()
print("%-40s %11s %11s %7s %7s %6s  %s" % ("target (medians, cpu)", "figure us", "floor us", "ratio", "real", "target", "mark"))
for label, name, floor, target in ROWS:
    b, f = runs.get(name), runs.get(floor)
    if b and f:
        ratio = b["cpu_time"] / f["cpu_time"]
        print("%-40s %11.2f %11.2f %6.2fx %6.2fx %5.1fx  %s" % (label, us(b, "cpu_time"), us(f, "cpu_time"), ratio,
              b["real_time"] / f["real_time"], target, "pass" if ratio <= target else "MISS"))
g = runs.get("BM_MapLocationGeometryFloor")
for label, name in (("location, every segment a candidate", "BM_MapLocation"),
                    ("location worst: all fail the heading", "BM_MapLocationWorst/0"),
                    ("location worst: far, each link nearer", "BM_MapLocationWorst/1")):
    b = runs.get(name)
    if b:
        ns = b["time_per_segment"] * 1e9
        print("%-40s %8.1f ns/seg (bare geometry %.1f ns) %13s <=15 ns  %s" % (label, ns,
              g["time_per_segment"] * 1e9 if g else float("nan"), "", "pass" if ns <= 15.0 else "MISS"))
m = runs.get("BM_Memcpy1MiBFloor")
TARGET_MEMCPY_US = 1000.0
if m:
    factor = TARGET_MEMCPY_US / us(m, "real_time")
    print()
    print("advisory cycle: target time = host time x %.1f (1 MiB memcpy: %.1f us here, ~%.0f us on the target)"
          % (factor, us(m, "real_time"), TARGET_MEMCPY_US))
    for label, name in (("sample intersection", "BM_AdvisoryCycle/0"), ("dense 25,000-segment map", "BM_AdvisoryCycle/1")):
        b = runs.get(name)
        if b:
            host = us(b, "real_time")
            print("  %-26s host %8.1f us (cpu %8.1f), target ~%6.2f ms = %4.1f%% of 100 ms; allocations per cycle %.2f (first %d)"
                  % (label, host, us(b, "cpu_time"), host * factor / 1000.0, host * factor / 1000.0,
                     b["allocs_per_cycle"], b["first_cycle_allocs"]))
PY

# The MQTT bridge (bench/BridgeBench.cpp), without the broker: the
# publications per second its thread sustains with every list changing, and
# what its reads add to a writer's time on a list's lock.
ninja -C "$BUILD" -j2 v2xshm_bridge_bench
BRIDGE_OUT="$BUILD/bridge-bench-results.json"
unshare --ipc --map-root-user "$BUILD/bench/v2xshm_bridge_bench" --benchmark_repetitions="$REPS" \
    --benchmark_report_aggregates_only=true --benchmark_out="$BRIDGE_OUT" --benchmark_out_format=json >/dev/null
python3 - "$BRIDGE_OUT" <<'PY'
import json, sys
runs = {}
for b in json.load(open(sys.argv[1]))["benchmarks"]:
    if b.get("aggregate_name") == "median":
        runs[b["run_name"]] = b
scale = {"ns": 1e-3, "us": 1.0, "ms": 1e3}
views = [runs[n] for n in sorted(runs) if n.startswith("BM_BridgeView/")]
LISTS = ["ptc", "obu", "rsu", "map", "lights", "rsi", "config", "approach"]  # bridgeLists() order
print()
print("MQTT bridge (medians; every list full, each view read and written as it changes)")
cycle = 0.0
for v in views:
    us = v["real_time"] * scale[v["time_unit"]]
    cycle += us
    name = v.get("label") or LISTS[int(v["run_name"].split("/")[1])]
    print("  %-26s %8.1f us per publication, %8.0f publications/s" % (name, us, 1e6 / us))
if views:
    need = 10 * len(views)
    sustained = len(views) * 1e6 / cycle
    print("  every list changing at 10 Hz needs %d publications/s; the bridge's thread sustains %.0f/s "
          "(busy %.0f%% of the time at 10 Hz)" % (need, sustained, 100.0 * need / sustained))
alone, read = runs.get("BM_WriterRefresh/0/real_time"), runs.get("BM_WriterRefresh/1/real_time")
if alone and read:
    a, r = alone["real_time"] * scale[alone["time_unit"]], read["real_time"] * scale[read["time_unit"]]
    print("  a writer's refresh in a list of 200: %.2f us alone, %.2f us while the bridge reads every list "
          "without pause: %+.2f us added (the bridge holds a lock only for the copy any reader makes)" % (a, r, r - a))
PY

# The same through a real broker: every list changed ten times a second by
# writers (the tool, as a unit's processes would), the bridge publishing
# every 10 ms, a subscriber counting what arrives over 10 seconds. Needs
# mosquitto and the tool; runs in its own IPC and network namespaces.
if command -v mosquitto >/dev/null && command -v mosquitto_sub >/dev/null; then
    ninja -C "$BUILD" -j2 v2xshm_tool >/dev/null
    unshare --ipc --net --map-root-user sh "$ROOT/tests/support/WithLoopback.sh" ip bash -s "$BUILD/tools/v2xshm" \
        "$ROOT/data" <<'SH'
tool=$1 data=$2 work=$(mktemp -d) pids=()
trap '{ kill "${pids[@]}"; wait; } 2>/dev/null; rm -rf "$work"' EXIT
printf 'listener 18831 127.0.0.1\nallow_anonymous true\npersistence false\nuser root\n' >"$work/broker.conf"
mosquitto -c "$work/broker.conf" >/dev/null 2>&1 & pids+=($!)
"$tool" owner >/dev/null 2>&1 & pids+=($!)
sleep 1
"$tool" bridge --broker 127.0.0.1:18831 --unit bench --period 10 >/dev/null 2>&1 & pids+=($!)
mosquitto_sub -p 18831 -t 'v2x/bench/+' -F '%t' >"$work/sub" 2>/dev/null & pids+=($!)
sleep 1
: >"$work/sub"
end=$((SECONDS + 10)) n=0
while ((SECONDS < end)); do
    n=$((n + 1)) round=()
    "$tool" ptc push --ptc-id 1 --source 1 --source-id w --lon 120 --lat 30 --speed $((n % 30)) >/dev/null & round+=($!)
    "$tool" obu push --id w --lon 120 --lat 30 --speed $((n % 30)) >/dev/null & round+=($!)
    "$tool" rsu push --id w --lon 120 --lat 30 --speed $((n % 30)) >/dev/null & round+=($!)
    "$tool" config set tick i32 $n >/dev/null & round+=($!)
    "$tool" map load "$data/sample-intersection.map" >/dev/null & round+=($!)
    "$tool" signal load "$data/sample-signal.tl" >/dev/null & round+=($!)
    "$tool" rsi load "$data/sample-rsi.rsi" >/dev/null & round+=($!)
    sleep 0.1
    wait "${round[@]}"
done
sleep 0.5
total=$(grep -a '^v2x/bench/[a-z]*$' "$work/sub" | grep -vc '/status$')
printf '\nMQTT bridge through mosquitto: 7 lists changed %d times in 10 s, %.1f publications/s received\n' \
    "$n" "$(awk -v t="$total" 'BEGIN { print t / 10 }')"
grep -a '^v2x/bench/[a-z]*$' "$work/sub" | grep -v '/status$' | sort | uniq -c | awk '{ printf "  %-22s %5.1f/s\n", $2, $1 / 10 }'
SH
fi
