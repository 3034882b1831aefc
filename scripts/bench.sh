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
