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
    ("64 lights insert / memcpy",              "BM_TLInsertUpdateList/0", "BM_TLInsertFloor"),
    ("64 lights insert, 64 kept / memcpy",     "BM_TLInsertUpdateList/1", "BM_TLInsertFloor"),
    ("64 lights insert / their Obj2Buff alone", "BM_TLInsertUpdateList/0", "BM_TLEncodeFloor"),
    ("RSI update (512 KiB) / memcpy",          "BM_RSIUpdate", "BM_RSIUpdateFloor"),
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
