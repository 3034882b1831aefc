#!/bin/sh
# Fuzzes the checked decoders of everything that arrives from outside.
#
#   scripts/fuzz.sh [TARGET...]      (default: every target below)
#
# Builds the fuzz targets with clang (libFuzzer, AddressSanitizer,
# UndefinedBehaviorSanitizer) into build/fuzz, writes each target's seed
# corpus with the message writers and runs each target for FUZZ_SECONDS
# (default and minimum 60) in a private IPC namespace. Any crash, sanitizer
# report, leak or broken promise fails the script; the failing input is kept
# in build/fuzz/artifacts/TARGET/ and can be replayed with
#   unshare --ipc --map-root-user build/fuzz/fuzz/fuzz_TARGET FILE
set -eu

# Every fuzz target, by the name after fuzz_; fuzz_seeds KIND DIR writes the
# seeds of each.
ALL_TARGETS="nodelist framestream rtcm tllist rsilist"

root=$(cd "$(dirname "$0")/.." && pwd)
build=${FUZZ_BUILD_DIR:-$root/build/fuzz}
seconds=${FUZZ_SECONDS:-60}
if [ "$seconds" -lt 60 ]; then
    seconds=60
fi
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
ninja_targets="fuzz_seeds"
for t in $targets; do
    ninja_targets="$ninja_targets fuzz_$t"
done
# shellcheck disable=SC2086
ninja -C "$build" -j2 $ninja_targets

export ASAN_OPTIONS=${ASAN_OPTIONS:-abort_on_error=1:detect_leaks=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-halt_on_error=1:print_stacktrace=1}
for t in $targets; do
    seeds=$build/corpus/$t/seeds
    work=$build/corpus/$t/work
    artifacts=$build/artifacts/$t
    rm -rf "$seeds" "$artifacts"
    mkdir -p "$seeds" "$work" "$artifacts"
    "$build/fuzz/fuzz_seeds" "$t" "$seeds"
    echo "fuzz_$t: $seconds s from $(ls "$seeds" | wc -l) seeds"
    # New inputs go to the work corpus, kept between runs; the seeds are read only.
    unshare --ipc --map-root-user "$build/fuzz/fuzz_$t" \
        -max_total_time="$seconds" -max_len=16384 -timeout=10 -rss_limit_mb=1024 \
        -print_final_stats=1 -artifact_prefix="$artifacts/" \
        "$work" "$seeds"
    echo "fuzz_$t: no crash, no sanitizer report in $seconds s"
done
echo "fuzz: $(echo $targets | wc -w) targets clean, $seconds s each"
