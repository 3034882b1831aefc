#!/usr/bin/env bash
# A session with the shared lists of a unit, run in a private IPC namespace so
# that nothing touches (or is left on) the machine: start the owner, a glance
# at the configuration, the status and a GNSS fix, then the main part: load
# the sample intersection's map as a receiving process would, drive a
# simulated car along one approach with a fix every 100 ms of simulated time,
# and print at each step where the car is in the map (node, link, distance to
# the stop line, speed limits) and the light ahead with its count-down (the
# controller re-sends its state at every step, on the drive's clock), through
# the intersection until it is out of reach. Meanwhile a second vehicle with
# an on-board unit approaches on the crossing road; at each step the car turns
# the participants into targets and prints the other vehicle's distance and
# bearing; once it falls silent it leaves the lists 2 s after its last report.
# Pictures of the map (v2xshm draw) are taken as the car approaches the stop
# line and as the drive ends, and kept in the build directory.
# Finally stop the owner and show that nothing is left.
#
# With --serve, the session stops before the drive and shows the unit in a
# browser instead: the live page (`v2xshm serve`, on 127.0.0.1) while the car
# drives up Mill Rd again and again in real time, until Ctrl-C.
#
# Usage: scripts/demo.sh [--serve [PORT]]
#                           (builds the host tool into build/demo if needed,
#                            without tests or benchmarks; V2XSHM_BUILD_DIR
#                            names another build directory, such as one the
#                            test command made; the page's port is 8080
#                            unless given)
set -euo pipefail

SERVE_PORT=""
if [ "${1:-}" = --serve ]; then
    SERVE_PORT="${2:-8080}"
elif [ $# -gt 0 ]; then
    echo "usage: scripts/demo.sh [--serve [PORT]]" >&2
    exit 2
fi

ROOT="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
BUILD="${V2XSHM_BUILD_DIR:-$ROOT/build/demo}"

# --- Set-up, outside the namespace: packages, configure, build the tool.
# Only what the tool needs: no test or benchmark packages.
setup() {
    local need=() pkg
    for pkg in cmake ninja-build g++ libcli11-dev nlohmann-json3-dev util-linux ${SERVE_PORT:+libcpp-httplib-dev}; do
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
        cmake -S "$ROOT" -B "$BUILD" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
            -DBUILD_TESTING=OFF -DV2XSHM_BUILD_BENCH=OFF >/dev/null
    fi
    # Configured before the HTTP library was installed: look for it again.
    if [ -n "$SERVE_PORT" ] && ! grep -q '^V2XSHM_TOOL_SERVE:INTERNAL=1' "$BUILD/CMakeCache.txt"; then
        cmake -U '*HTTPLIB*' "$BUILD" >/dev/null
    fi
    echo "== building the v2xshm tool (the first run compiles the library: about 5 minutes on 2 idle cores)"
    build_tool
}

# Builds the tool and the sample writer, showing ninja's progress: one line
# rewritten in place on a terminal, else a line per tenth of the way. The
# whole output goes to a log, shown when the build fails.
build_tool() {
    local log="$BUILD/demo-build.log" tty=0
    [ -t 1 ] && tty=1
    if ! ninja -C "$BUILD" -j2 v2xshm_tool v2xshm_makesample 2>&1 | tee "$log" | awk -v tty="$tty" '
        /^\[[0-9]+\/[0-9]+\]/ {
            split(substr($1, 2, length($1) - 2), n, "/")
            file = $NF; sub(/.*\//, "", file)
            if (tty) { printf "\r\033[K   %s %s", $1, file; shown = 1 }
            else if (n[1] > 0 && n[1] * 10 >= tenth * n[2]) { printf "   %s %d%%\n", $1, 100 * n[1] / n[2]; tenth = int(n[1] * 10 / n[2]) + 1 }
            fflush()
        }
        END { if (shown) printf "\r\033[K" }'; then
        echo "demo: the build failed; the end of $log:" >&2
        tail -n 30 "$log" >&2
        exit 1
    fi
}

if [ "${V2XSHM_DEMO_INSIDE:-}" != 1 ]; then
    setup
    echo "== entering a private IPC namespace"
    exec unshare --ipc --map-root-user env V2XSHM_DEMO_INSIDE=1 V2XSHM_TOOL="$BUILD/tools/v2xshm" \
        V2XSHM_DEMO_PICTURES="$BUILD" \
        V2XSHM_MAKESAMPLE="$BUILD/tools/mapsample/v2xshm_makesample" bash "${BASH_SOURCE[0]}" "$@"
fi

# --- Inside the namespace.
TOOL="$V2XSHM_TOOL"
PICTURES="$V2XSHM_DEMO_PICTURES"
MAKESAMPLE="$V2XSHM_MAKESAMPLE"
WORK="$(mktemp -d)"
OWNER_PID=""
SERVE_PID=""
trap '[ -n "$SERVE_PID" ] && kill -TERM "$SERVE_PID" 2>/dev/null
      [ -n "$OWNER_PID" ] && kill -KILL "$OWNER_PID" 2>/dev/null; rm -rf "$WORK"' EXIT

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
    run kill -TERM "$OWNER_PID" 2>/dev/null || true
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
# Its signal controllers (count-downs in seconds from reception; the drive
# re-sends them as they count down) and road-side information (road works on
# Mill Rd northbound, among others).
SAMPLE_SIGNAL="$(dirname "$SAMPLE_MAP")/sample-signal.tl"
SAMPLE_RSI="$(dirname "$SAMPLE_MAP")/sample-rsi.rsi"

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
    v2xshm rsi load "$SAMPLE_RSI" --source rsu-1001
    echo "\$ v2xshm show signals --node 1001 | grep phase"
    "$TOOL" show signals --node 1001 | grep 'phase'
}

# The drive's steps: its time, the car's place north of the centre and its
# position, and whether it is past the stop line.
drive_steps() {
    awk 'BEGIN { for (i = 0; i < 400; i++) { n = -120 + 1.25 * i
        printf "%.1f %.2f %.9f %.9f %d\n", i / 10, n, 120.12 + 5.25 / (111195 * 0.8660254037844387),
               30 + n / 111195, (n > -15) } }'
}

# The other vehicle's place at each step: 140 m east at first, 0.8 m closer
# each step, until its stop line 15 m east of the centre (step 156).
obu_places() {
    awk 'BEGIN { for (i = 0; i <= 156; i++) printf "--lon %.9f --lat %.9f\n",
        120.12 + (140 - 0.8 * i) / (111195 * 0.8660254037844387), 30 + 5.25 / 111195 }'
}

# push_step I T LON LAT: what the unit's receiving processes store at step I
# (T seconds into the drive): the car's fix, the controller's lights and the
# other vehicle's report (obu_at holds its places).
push_step() {
    "$TOOL" gnss push --lon "$3" --lat "$4" --speed 12.5 --heading 0 --time-ms $(( ($1 * 100) % 60000 )) >/dev/null
    # After the fix: locate takes the light at the fix's moment, and a
    # light received later as it was sent, however long the step takes.
    "$MAKESAMPLE" signal "$WORK/lights.tl" --at "$2" >/dev/null
    "$TOOL" signal load "$WORK/lights.tl" >/dev/null
    "$TOOL" obu push --id obu-b ${obu_at[$(($1 < 156 ? $1 : 156))]} --speed 8 --heading 270 >/dev/null
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
    echo "The signal controller sends its state ten times a second, each message with the count-downs"
    echo "of that moment; here one goes out at each step, on the drive's clock:"
    echo "  \$ v2xshm signal load LIGHTS.tl"
    echo "locate gives the light of the car's movement (straight on to node 1003, phase 2) at the moment"
    echo "of the fix, with the seconds until it changes, and the road-side information on its link."
    echo
    local steps=() obu_at=()
    mapfile -t steps < <(drive_steps)
    mapfile -t obu_at < <(obu_places)
    printf '%6s %9s  %s\n' "time" "north" "matched node and link, distance to the stop line, speed limits"
    local i=0 t north lon lat past out target signal rsi misses=0
    while [ "$misses" -lt 3 ] && [ "$i" -lt ${#steps[@]} ]; do
        read -r t north lon lat past <<<"${steps[$i]}"
        push_step "$i" "$t" "$lon" "$lat"
        target=$("$TOOL" targets build | sed -nE 's/^  type 2  distance ([0-9.]+ m)  bearing (.* deg( \([a-z]+\))?)  local .* id "obu-b".*/obu-b \1, \2/p')
        # Limits in km/h only, to keep each step on one line.
        out=$("$TOOL" locate --gnss | sed -E 's| [0-9.]+ m/s \(([0-9.]+ km/h)\)| \1|g')
        signal=$(sed -nE 's/^  to 1003 \(phase 2\): (.*)/\1/p' <<<"$out")
        rsi=$(sed -nE 's/^  road-side information, [0-9]+ m away: [^:]*: (.{0,40}).*/\1.../p' <<<"$out")
        out=${out%%$'\n'*}
        case $out in
            "no link"*) misses=$((misses + 1)); out="out of reach: no link within reach (-2)" ;;
            *) [ "$past" = 1 ] && out="$out  (past the stop line)" ;;
        esac
        printf '%5.1fs %8.2fm  %s\n' "$t" "$north" "$out"
        printf '%18s target: %s\n' "" "$target"
        [ -n "$signal" ] && printf '%18s light: %s%s\n' "" "$signal" "${rsi:+; road-side: $rsi}"
        # 30 m before the stop line: a picture of the approach.
        if [ "$i" -eq 60 ]; then
            "$TOOL" draw --out "$PICTURES/demo-approach.svg" >/dev/null
            printf '%18s (picture of this moment: v2xshm draw --out %s)\n' "" "$PICTURES/demo-approach.svg"
        fi
        i=$((i + 1))
    done
    LAST_MESSAGE_AT=$EPOCHREALTIME

    step "The road around the car as the drive ends: the other vehicle as a target"
    v2xshm show targets
    v2xshm ptc age

    step "The same as a picture: the map around the car, its trace, the light of each movement, obu-b"
    v2xshm draw --out "$PICTURES/demo-map.svg"
    echo "Open it in a browser; $PICTURES/demo-approach.svg shows the car 30 m before its stop line."

    step "The last location published stays, with its age, for readers to judge"
    v2xshm show location

    step "What the locating process published for the other processes: phases and road-side information"
    v2xshm show phases
    v2xshm show rsi-results
}

step_aging() {
    step "Aging: the car is out of reach of the controller and of obu-b, which send nothing more"
    echo "The ageing tasks drop the lights 10 s after their last message and obu-b 2 s after its last"
    echo "report; the map is kept while it is refreshed within 10 s."
    local wait_for
    wait_for=$(awk -v last="$LAST_MESSAGE_AT" -v now="$EPOCHREALTIME" 'BEGIN { w = last + 10.5 - now; printf "%.1f", (w > 0 ? w : 0) }')
    echo "(waiting ${wait_for} s more, until the last messages are 10.5 s old)"
    sleep "$wait_for"
    echo "(the receiving process gets the map again, as it does every second)"
    v2xshm map load "$SAMPLE_MAP"
    v2xshm map age
    v2xshm signal age
    v2xshm ptc age
    v2xshm show obu
    v2xshm targets build
    v2xshm id next
}

# The live page while the car drives laps in real time (a step every 100 ms,
# as the fixes come), until Ctrl-C.
step_serve() {
    step "The live page: the picture of the intersection, the approach and every list, in a browser"
    "$TOOL" serve --port "$SERVE_PORT" >"$WORK/serve.out" 2>&1 &
    SERVE_PID=$!
    for _ in $(seq 100); do
        grep -q '^serving ' "$WORK/serve.out" && break
        sleep 0.05
    done
    grep -q '^serving ' "$WORK/serve.out" || { cat "$WORK/serve.out" >&2; exit 1; }
    echo "Open http://127.0.0.1:$SERVE_PORT/ in a browser. The car drives up Mill Rd again and again"
    echo "(each lap 40 s, a fix every 100 ms); the other vehicle comes along Harbour St. Ctrl-C ends the demo."
    local steps=() obu_at=() stop="" lap=0 i t north lon lat past begun
    mapfile -t steps < <(drive_steps)
    mapfile -t obu_at < <(obu_places)
    trap 'stop=1' INT TERM
    while [ -z "$stop" ]; do
        lap=$((lap + 1))
        echo "lap $lap"
        begun=$EPOCHREALTIME
        for ((i = 0; i < ${#steps[@]} && ! ${#stop}; i++)); do
            read -r t north lon lat past <<<"${steps[$i]}"
            { push_step "$i" "$t" "$lon" "$lat" && "$TOOL" targets build >/dev/null &&
                "$TOOL" locate --gnss >/dev/null; } 2>/dev/null || true
            sleep "$(awk -v b="$begun" -v t="$t" -v now="$EPOCHREALTIME" \
                'BEGIN { w = b + t + 0.1 - now; printf "%.3f", (w > 0 ? w : 0) }')" || true
        done
    done
    trap - INT TERM
    echo
    # A Ctrl-C at the terminal reaches the server and the owner as well:
    # either may have ended already.
    kill -TERM "$SERVE_PID" 2>/dev/null || true
    wait "$SERVE_PID" || true
    SERVE_PID=""
}

if [ -n "$SERVE_PORT" ]; then
    step_start_owner
    step_map
    step_signal
    step_serve
    step_stop_owner
    step_nothing_left
    exit 0
fi

step_start_owner
step_config
step_status
step_gnss
step_map
step_signal
step_drive
step_aging
step_stop_owner
step_nothing_left
