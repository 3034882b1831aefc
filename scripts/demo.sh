#!/usr/bin/env bash
# A short session with the shared lists of a unit, run in a private IPC
# namespace so that nothing touches (or is left on) the machine:
# start the owner, set configuration values from one process, read them from
# others, look at the status, stop the owner and show that nothing is left.
#
# Usage: scripts/demo.sh    (builds the host tool into build/host if needed)
set -euo pipefail

ROOT="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
BUILD="${V2XSHM_BUILD_DIR:-$ROOT/build/host}"

# --- Set-up, outside the namespace: packages, configure, build the tool.
setup() {
    local need=() pkg
    for pkg in cmake ninja-build g++ libgtest-dev libgmock-dev libbenchmark-dev util-linux; do
        dpkg -s "$pkg" >/dev/null 2>&1 || need+=("$pkg")
    done
    if [ ${#need[@]} -gt 0 ]; then
        if [ "$(id -u)" -eq 0 ]; then
            echo "== installing ${need[*]}"
            apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${need[@]}" >/dev/null
        else
            echo "demo: missing packages: ${need[*]} (install them, or run as root)" >&2
            exit 1
        fi
    fi
    if [ ! -f "$BUILD/build.ninja" ]; then
        echo "== configuring $BUILD"
        if [ "$BUILD" = "$ROOT/build/host" ] && [ -f "$ROOT/CMakePresets.json" ]; then
            (cd "$ROOT" && cmake --preset host >/dev/null)
        else
            cmake -S "$ROOT" -B "$BUILD" -G Ninja >/dev/null
        fi
    fi
    echo "== building the v2xshm tool"
    ninja -C "$BUILD" -j2 v2xshm_tool >/dev/null
}

if [ "${V2XSHM_DEMO_INSIDE:-}" != 1 ]; then
    setup
    echo "== entering a private IPC namespace"
    exec unshare --ipc --map-root-user env V2XSHM_DEMO_INSIDE=1 V2XSHM_TOOL="$BUILD/tools/v2xshm" \
        bash "${BASH_SOURCE[0]}" "$@"
fi

# --- Inside the namespace.
TOOL="$V2XSHM_TOOL"
WORK="$(mktemp -d)"
OWNER_PID=""
trap '[ -n "$OWNER_PID" ] && kill -KILL "$OWNER_PID" 2>/dev/null; rm -rf "$WORK"' EXIT

step() {
    echo
    echo "### $*"
}

# Echoes a command line, then runs it.
run() {
    echo "\$ $*"
    "$@"
}

# Runs the tool, echoed as the user would type it.
v2xshm() {
    echo "\$ v2xshm $*"
    "$TOOL" "$@" 2>&1
}

step_start_owner() {
    step "Start the owner of the lists (a background process, as a unit's supervisor would)"
    echo "\$ v2xshm owner &"
    "$TOOL" owner >"$WORK/owner.out" 2>&1 &
    OWNER_PID=$!
    for _ in $(seq 100); do
        grep -q '^owning ' "$WORK/owner.out" && break
        sleep 0.05
    done
    cat "$WORK/owner.out"
    grep -q '^owning ' "$WORK/owner.out" || { echo "demo: the owner did not start" >&2; exit 1; }
}

step_config() {
    step "Set configuration values; each command is a process of its own"
    v2xshm config set node_id i32 1024
    v2xshm config set radio_channel u8 180
    v2xshm config set tx_power_dbm f64 20.5
    v2xshm config set log_host text 127.0.0.1
    v2xshm config set serial i64 4311744512

    step "Read them back from other processes"
    v2xshm config get node_id
    v2xshm config get tx_power_dbm f64
    v2xshm config list
    v2xshm --json config get log_host

    step "Bad input is refused with one line and changes nothing"
    v2xshm config set radio_channel u8 300 || echo "(exit code $?)"
}

step_status() {
    step "Status of every list: segment, attached processes, semaphore"
    v2xshm status
}

step_stop_owner() {
    step "Stop the owner: it removes its segments and semaphores"
    run kill -TERM "$OWNER_PID"
    wait "$OWNER_PID" || true
    OWNER_PID=""
    tail -n 1 "$WORK/owner.out"
}

step_nothing_left() {
    step "Nothing is left behind"
    run ipcs -m -s
    v2xshm config list || echo "(exit code $?)"
}

step_gnss() {
    step "A positioning process pushes fixes of a car driving east at 10 m/s, taken a second apart"
    local lon
    for i in 0 1 2 3; do
        # 10 m east per second at latitude 39.9073: 10 / cos(lat) / 111195 degrees.
        lon=$(awk -v i="$i" 'BEGIN { printf "%.7f", 116.3912 + i * 10 / cos(39.9073 * 3.141592653589793 / 180) / 111195 }')
        v2xshm gnss push --lon "$lon" --lat 39.9073 --speed 10 --heading 90 --time-ms "$((i * 1000))"
    done

    step "One second later: the latest fix, its age and the position predicted for now (about 10 m further east)"
    run sleep 1
    v2xshm show gnss
    v2xshm --json show gnss

    step "The trace, newest first"
    v2xshm show trace
    v2xshm show trace -n 2

    step "Bad fixes are refused with one line and nothing is written"
    v2xshm gnss push --lon 116.4 --lat 39.9 --speed 10 --heading 360 || echo "(exit code $?)"
    v2xshm gnss push --lon 116.4 --lat 95 --speed 10 --heading 90 || echo "(exit code $?)"

    step "A control process raises the disabled-vehicle event; it is marked as set by hand"
    v2xshm vehicle disabled on
    v2xshm show vehicle
    v2xshm vehicle disabled off
}

step_start_owner
step_config
step_status
# Further steps (GNSS, map) go here, while the owner runs.
step_gnss
step_stop_owner
step_nothing_left
