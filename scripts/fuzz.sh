#!/bin/sh
# Fuzzes the checked decoders of everything that arrives from outside.
#
#   scripts/fuzz.sh [TARGET...]          bounded run of each (default: every target)
#   scripts/fuzz.sh --long [TARGET...]   at least FUZZ_RUNS executions of each
#                                        (default 10 million), then minimises
#                                        what was found into the committed corpus
#
# Builds the fuzz targets with clang (libFuzzer, AddressSanitizer,
# UndefinedBehaviorSanitizer) into build/fuzz and runs each target in a
# private IPC namespace from its committed, minimised corpus in
# fuzz/corpus/TARGET plus the committed seeds in fuzz/seeds/TARGET. The bounded
# run lasts FUZZ_SECONDS (default and minimum 60) per target. Any crash,
# sanitizer report, leak or broken promise fails the script; the failing input
# is kept in build/fuzz/artifacts/TARGET/ and can be replayed with
#   unshare --ipc --map-root-user build/fuzz/fuzz/fuzz_TARGET FILE
set -eu

# Every fuzz target, by the name after fuzz_.
ALL_TARGETS="nodelist framestream rtcm tllist rsilist"

root=$(cd "$(dirname "$0")/.." && pwd)
build=${FUZZ_BUILD_DIR:-$root/build/fuzz}
seconds=${FUZZ_SECONDS:-60}
if [ "$seconds" -lt 60 ]; then
    seconds=60
fi
long=false
if [ "${1:-}" = "--long" ]; then
    long=true
    shift
fi
runs=${FUZZ_RUNS:-10000000}
targets=${*:-$ALL_TARGETS}

mkdir -p "$build"
sanitizers="-fsanitize=address,undefined -fno-sanitize-recover=all"
cmake -S "$root" -B "$build" -G Ninja \
    -DCMAKE_CXX_COMPILER=clang++ \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_CXX_FLAGS="$sanitizers -fsanitize=fuzzer-no-link -fno-omit-frame-pointer" \
    -DCMAKE_EXE_LINKER_FLAGS="$sanitizers" \
    -DCMAKE_SHARED_LINKER_FLAGS="$sanitizers" \
    -DV2XSHM_BUILD_FUZZ=ON -DV2XSHM_BUILD_TESTS=OFF -DV2XSHM_BUILD_TOOLS=OFF -DV2XSHM_BUILD_BENCH=OFF \
    >"$build/configure.log" 2>&1 || { cat "$build/configure.log"; exit 1; }
ninja_targets=""
for t in $targets; do
    ninja_targets="$ninja_targets fuzz_$t"
done
# shellcheck disable=SC2086
ninja -C "$build" -j2 $ninja_targets

export ASAN_OPTIONS=${ASAN_OPTIONS:-abort_on_error=1:detect_leaks=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-halt_on_error=1:print_stacktrace=1}
options="-max_len=16384 -timeout=10 -rss_limit_mb=1024 -print_final_stats=1"
for t in $targets; do
    corpus=$root/fuzz/corpus/$t
    seeds=$root/fuzz/seeds/$t
    work=$build/corpus/$t/work
    artifacts=$build/artifacts/$t
    rm -rf "$work" "$artifacts"
    mkdir -p "$corpus" "$work" "$artifacts"
    # New inputs go to the work corpus; the committed corpus and the seeds
    # are read only, so that a bounded run never changes the source tree.
    if $long; then
        echo "fuzz_$t: $runs runs from $(ls "$corpus" | wc -l) corpus inputs and $(ls "$seeds" | wc -l) seeds"
        # shellcheck disable=SC2086
        unshare --ipc --map-root-user "$build/fuzz/fuzz_$t" $options -runs="$runs" \
            -artifact_prefix="$artifacts/" "$work" "$corpus" "$seeds" 2>&1 |
            tee "$build/$t-long.log" | grep -E '^(#[0-9]+ +DONE|stat::|Done [0-9]+ runs)' || true
        grep -q '^Done [0-9]* runs' "$build/$t-long.log" ||
            { tail -n 40 "$build/$t-long.log"; echo "fuzz_$t: failed"; exit 1; }
        # Keep the smallest set of inputs that reaches everything found so far.
        merged=$build/corpus/$t/merged
        rm -rf "$merged" && mkdir -p "$merged"
        unshare --ipc --map-root-user "$build/fuzz/fuzz_$t" -merge=1 -max_len=16384 \
            "$merged" "$corpus" "$seeds" "$work" >"$build/$t-merge.log" 2>&1
        rm -f "$corpus"/* && cp "$merged"/* "$corpus"/
        echo "fuzz_$t: corpus minimised to $(ls "$corpus" | wc -l) inputs"
    else
        echo "fuzz_$t: $seconds s from $(ls "$corpus" | wc -l) corpus inputs and $(ls "$seeds" | wc -l) seeds"
        # shellcheck disable=SC2086
        unshare --ipc --map-root-user "$build/fuzz/fuzz_$t" $options -max_total_time="$seconds" \
            -artifact_prefix="$artifacts/" "$work" "$corpus" "$seeds"
        echo "fuzz_$t: no crash, no sanitizer report in $seconds s"
    fi
done
if $long; then
    echo "fuzz: $(echo $targets | wc -w) targets clean, $runs runs each"
else
    echo "fuzz: $(echo $targets | wc -w) targets clean, $seconds s each"
fi
