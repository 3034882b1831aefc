#!/bin/sh
# Fuzzes the checked decoding of received map messages.
#
# Builds fuzz_nodelist with clang (libFuzzer, AddressSanitizer,
# UndefinedBehaviorSanitizer) into build/fuzz, writes the seed corpus with the
# map message writer and runs the fuzzer for FUZZ_SECONDS (default and
# minimum 60) in a private IPC namespace. Any crash, sanitizer report, leak or
# broken promise fails the script; the failing input is kept in
# build/fuzz/artifacts/ and can be replayed with
#   unshare --ipc --map-root-user build/fuzz/fuzz/fuzz_nodelist FILE
set -eu

root=$(cd "$(dirname "$0")/.." && pwd)
build=${FUZZ_BUILD_DIR:-$root/build/fuzz}
seconds=${FUZZ_SECONDS:-60}
if [ "$seconds" -lt 60 ]; then
    seconds=60
fi

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
ninja -C "$build" -j2 fuzz_nodelist fuzz_seeds

seeds=$build/corpus/seeds
work=$build/corpus/work
artifacts=$build/artifacts
rm -rf "$seeds" "$artifacts"
mkdir -p "$seeds" "$work" "$artifacts"
"$build/fuzz/fuzz_seeds" "$seeds"

export ASAN_OPTIONS=${ASAN_OPTIONS:-abort_on_error=1:detect_leaks=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-halt_on_error=1:print_stacktrace=1}
echo "fuzz_nodelist: $seconds s from $(ls "$seeds" | wc -l) seeds"
# New inputs go to the work corpus, kept between runs; the seeds are read only.
unshare --ipc --map-root-user "$build/fuzz/fuzz_nodelist" \
    -max_total_time="$seconds" -max_len=16384 -timeout=10 -rss_limit_mb=1024 \
    -print_final_stats=1 -artifact_prefix="$artifacts/" \
    "$work" "$seeds"
echo "fuzz_nodelist: no crash, no sanitizer report in $seconds s"
