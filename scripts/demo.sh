#!/usr/bin/env bash
# A session with the shared lists of a unit, run in a private IPC namespace so
# that nothing touches (or is left on) the machine: start the owner, a glance
# at the configuration, the status and a GNSS fix, then the main part: load
# the sample intersection's map as a receiving process would, drive a
# simulated car along one approach with a fix every 100 ms of simulated time,
# and print at each step where the car is in the map (node, link, distance to
# the stop line, speed limits), through the intersection until it is out of
# reach. Meanwhile a second vehicle with an on-board unit approaches on the
# crossing road; at each step the car turns the participants into targets and
# prints the other vehicle's distance and bearing; once it falls silent it
# leaves the lists 2 s after its last report. Finally stop the owner and show
# that nothing is left.
#
# Usage: scripts/demo.sh    (builds the host tool into build/host if needed)
set -euo pipefail

ROOT="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
BUILD="${V2XSHM_BUILD_DIR:-$ROOT/build/host}"

# --- Set-up, outside the namespace: packages, configure, build the tool.
setup() {
    local need=() pkg
    for pkg in cmake ninja-build g++ libgtest-dev libgmock-dev libbenchmark-dev libcli11-dev nlohmann-json3-dev \
               util-linux; do
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
    step "Configuration: set from one process, read from another"
    v2xshm config set node_id i32 1024
    v2xshm config get node_id
    v2xshm config set radio_channel u8 300 || echo "(refused, exit code $?; nothing written)"
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
    step "A positioning process pushes a fix; readers see it with its age and the position predicted for now"
    v2xshm gnss push --lon 116.3912 --lat 39.9073 --speed 10 --heading 90
    v2xshm show gnss
    v2xshm gnss push --lon 116.4 --lat 95 --speed 10 --heading 90 || echo "(refused, exit code $?)"
}

# The sample intersection (data/sample-intersection.map): Harbour St / Mill Rd,
# node 1001 at 30 N 120.12 E, and its neighbour 1002 420 m east.
SAMPLE_MAP="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)/data/sample-intersection.map"
# Its signal controllers (count-downs in seconds from reception) and road-side
# information (road works on Mill Rd northbound, among others).
SAMPLE_SIGNAL="$(dirname "$SAMPLE_MAP")/sample-signal.tl"
SAMPLE_RSI="$(dirname "$SAMPLE_MAP")/sample-rsi.rsi"

# lonlat EAST NORTH: the point EAST and NORTH metres from node 1001.
lonlat() {
    awk -v e="$1" -v n="$2" 'BEGIN { printf "%.9f %.9f", 120.12 + e / (111195 * 0.8660254037844387), 30 + n / 111195 }'
}

step_map() {
    step "A receiving process gets the map of the intersection: checked, merged into the shared list"
    v2xshm map load "$SAMPLE_MAP"
    head -c 2000 "$SAMPLE_MAP" >"$WORK/cut.map"
    v2xshm map load "$WORK/cut.map" || echo "(refused, exit code $?; the list is unchanged)"
    echo "\$ v2xshm show map --node 1001 | grep -E 'node|link|limits'"
    "$TOOL" show map --node 1001 | grep -E '^node|^  link|limits'
}

step_signal() {
    step "The intersection's signal controller and its road-side information arrive: checked, then listed"
    v2xshm signal load "$SAMPLE_SIGNAL"
    SIGNAL_LOADED_AT=$SECONDS
    v2xshm rsi load "$SAMPLE_RSI" --source rsu-1001
    echo "\$ v2xshm show signals --node 1001 | grep phase"
    "$TOOL" show signals --node 1001 | grep 'phase'
}

step_drive() {
    step "Drive north on Mill Rd through the intersection: a fix every 100 ms of simulated time"
    echo "Each step runs, as the unit's processes would:"
    echo "  \$ v2xshm gnss push --lon LON --lat LAT --speed 12.5 --heading 0 --time-ms MS"
    echo "  \$ v2xshm locate --gnss"
    echo "The car keeps to the middle lane, 5.25 m east of Mill Rd's centre line; the stop line is 15 m"
    echo "south of the centre; the approach has 3 lanes, so it is matched up to 15.5 m off its line."
    echo "Past the stop line the distance is measured to the link's end, so it grows again."
    echo "Meanwhile a vehicle with an on-board unit (obu-b) comes west along Harbour St at 8 m/s and"
    echo "stops at its stop line, 15 m east of the centre. Its receiver reports it at each step:"
    echo "  \$ v2xshm obu push --id obu-b --lon LON --lat LAT --speed 8 --heading 270"
    echo "and the car's advising process turns the participants into targets (distance, bearing"
    echo "from the car's heading, positive to the right):"
    echo "  \$ v2xshm targets build"
    echo "locate also gives the light of the car's movement (straight on to node 1003, phase 2) with"
    echo "the seconds until it changes (counted from the light's reception, in real time), and the"
    echo "road-side information on its link."
    echo
    # The other vehicle: 140 m east at first, 0.8 m closer each step, until
    # its stop line 15 m east of the centre (step 156).
    local obu_at=()
    mapfile -t obu_at < <(awk 'BEGIN { for (i = 0; i <= 156; i++) printf "--lon %.9f --lat %.9f\n",
        120.12 + (140 - 0.8 * i) / (111195 * 0.8660254037844387), 30 + 5.25 / 111195 }')
    printf '%6s %9s  %s\n' "time" "north" "matched node and link, distance to the stop line, speed limits"
    local i=0 north lon lat ms out misses=0
    while [ "$misses" -lt 3 ]; do
        north=$(awk -v i="$i" 'BEGIN { printf "%.2f", -120 + 1.25 * i }')
        read -r lon lat <<<"$(lonlat 5.25 "$north")"
        ms=$(( (i * 100) % 60000 ))
        "$TOOL" gnss push --lon "$lon" --lat "$lat" --speed 12.5 --heading 0 --time-ms "$ms" >/dev/null
        "$TOOL" obu push --id obu-b ${obu_at[$((i < 156 ? i : 156))]} --speed 8 --heading 270 >/dev/null
        target=$("$TOOL" targets build | sed -nE 's/^  type 2  distance ([0-9.]+ m)  bearing (.* deg( \([a-z]+\))?)  local .* id "obu-b".*/obu-b \1, \2/p')
        # Limits in km/h only, to keep each step on one line.
        out=$("$TOOL" locate --gnss | sed -E 's| [0-9.]+ m/s \(([0-9.]+ km/h)\)| \1|g')
        signal=$(printf '%s\n' "$out" | sed -nE 's/^  to 1003 \(phase 2\): (.*)/\1/p')
        rsi=$(printf '%s\n' "$out" | sed -nE 's/^  road-side information, [0-9]+ m away: [^:]*: (.{0,40}).*/\1.../p')
        out=$(printf '%s\n' "$out" | head -n 1)
        case $out in
            "no link"*) misses=$((misses + 1)); out="out of reach: no link within reach (-2)" ;;
            *) awk -v n="$north" 'BEGIN { exit !(n > -15) }' && out="$out  (past the stop line)" ;;
        esac
        printf '%5.1fs %8.2fm  %s\n' "$(awk -v i="$i" 'BEGIN { print i / 10 }')" "$north" "$out"
        printf '%18s target: %s\n' "" "$target"
        [ -n "$signal" ] && printf '%18s light: %s%s\n' "" "$signal" "${rsi:+; road-side: $rsi}"
        i=$((i + 1))
    done

    step "The last location published stays, with its age, for readers to judge"
    v2xshm show location

    step "What the locating process published for the other processes: phases and road-side information"
    v2xshm show phases
    v2xshm show rsi-results

    step "Aging: the map is kept while it is refreshed within 10 s; the lights, received once, go after 10 s"
    echo "(the receiving process gets the map again, as it does every second)"
    v2xshm map load "$SAMPLE_MAP"
    v2xshm map age
    # The drive usually takes longer than that; on a fast machine, wait for it.
    local wait_for=$((SIGNAL_LOADED_AT + 11 - SECONDS))
    if [ "$wait_for" -gt 0 ]; then
        echo "(waiting ${wait_for} s more, until the lights are older than 10 s)"
        sleep "$wait_for"
    fi
    v2xshm signal age
}

step_road_around() {
    step "The road around the car: the other vehicle as a target, then silent"
    v2xshm show targets
    v2xshm ptc age
    echo "(obu-b sends nothing more; 2.1 s later the ageing task drops it)"
    sleep 2.1
    v2xshm ptc age
    v2xshm show obu
    v2xshm targets build
    v2xshm id next
}

step_start_owner
step_config
step_status
step_gnss
step_map
step_signal
step_drive
step_road_around
step_stop_owner
step_nothing_left
