#!/bin/bash
# Drives the v2xshm tool's fix, trace and vehicle commands the way a unit's
# processes and an operator would: an owner in the background, pushes and
# reads from separate processes, bad input refused with one line and nothing
# written, nothing left behind.
# Usage: SpaceToolCommandsTest.sh TOOL [EMULATOR...]  (in a private IPC namespace)
source "$(dirname "$0")/../tools/ToolTestLib.sh" "$@"

# No owner: reading and pushing fail clearly and create nothing.
# shellcheck disable=SC2086
for cmd in "show gnss" "show trace" "show vehicle" "gnss push --lon 116.4 --lat 39.9 --speed 10 --heading 90"; do
    expect_error "$cmd without owner" 1 "no owner" $cmd
done
expect_no_ipc "nothing created without an owner"

start_owner gnss trace vehicle || { finish; exit 1; }
expect_grep "empty fix" "no fix stored yet" show gnss
expect_grep "empty trace" '"count":0' --json show trace

# Three fixes of a car driving east at 10 m/s.
for i in 1 2 3; do
    expect_grep "push $i" "Add 1 GNSS to trace. Totally $i , index = $i" \
        gnss push --lon "116.40$i" --lat 39.9 --speed 10 --heading 90 --time-ms "${i}000"
done
run --json gnss push --lon 116.404 --lat 39.9 --speed 10 --heading 90 --precision 0.5
judge "push json: the JSON line alone" '[ "$RC" -eq 0 ] && [ "$(wc -l <"$WORK/out")" -eq 1 ] &&
    grep -qF "\"trace\":{\"index\":4,\"count\":4}" "$WORK/out"'

expect_grep "show gnss" \
    '"longitude":116.404.*"precision":0.5.*"motion":\{"time":[0-9]+,"heading":0,.*"predicted":\{"longitude":116.404' \
    --json show gnss
expect_grep "show trace, newest first" \
    '"index":4,"count":4,"damaged":false,"shown":4,.*"slot":4,"fix":\{.*"slot":3,.*"slot":2,.*"slot":1,' \
    --json show trace
expect_grep "show trace -n 2" "lon 116.4040000" show trace -n 2
judge "show trace -n 2 shows 2" '[ "$(grep -c "  slot " "$WORK/out")" -eq 2 ]'

# Bad input: exit 2, one line on stderr, nothing written.
while IFS='|' read -r desc args; do
    # shellcheck disable=SC2086
    expect_error "$desc" 2 . $args
done <<'CASES'
longitude beyond 180|gnss push --lon 180.5 --lat 39.9 --speed 10 --heading 90
latitude beyond 90|gnss push --lon 116 --lat 90.01 --speed 10 --heading 90
heading 360|gnss push --lon 116 --lat 39.9 --speed 10 --heading 360
heading negative|gnss push --lon 116 --lat 39.9 --speed 10 --heading -1
negative speed|gnss push --lon 116 --lat 39.9 --speed -0.1 --heading 90
missing heading|gnss push --lon 116 --lat 39.9 --speed 10
option twice|gnss push --lon 116 --lon 117 --lat 39.9 --speed 10 --heading 90
time beyond the minute|gnss push --lon 116 --lat 39.9 --speed 10 --heading 90 --time-ms 60000
trace count zero|show trace -n 0
CASES
expect_grep "trace after bad input" '"index":4,"count":4' --json show trace

# The disabled-vehicle event, marked as set by hand, and cleared again.
expect_grep "disabled on" . vehicle disabled on
expect_grep "vehicle on" \
    '"eventFlags":\{"value":\{"bits":"0010","disabled":true\},"source":3,"sourceName":"set by hand"\}' \
    --json show vehicle
expect_grep "disabled off" '"disabled":false,"eventFlags":"0000","source":0' --json vehicle disabled off

stop_owner
expect_no_ipc "owner left nothing behind"
finish
