#!/bin/bash
# Drives the v2xshm tool's fix, trace and vehicle commands the way a unit's
# processes and an operator would: an owner in the background, pushes and
# reads from separate processes, bad input refused with one line and nothing
# written, nothing left behind.
# Usage: SpaceToolCommandsTest.sh TOOL [EMULATOR...]  (in a private IPC namespace)
set -u
TOOL=$1
shift
EMU=("$@")
OUT=$(mktemp -d)
trap 'rm -rf "$OUT"' EXIT

v2x() { "${EMU[@]}" "$TOOL" "$@"; }

fails=0
fail() { echo "FAIL: $*"; fails=$((fails + 1)); }
# expect RC DESCRIPTION ARGS...: runs the tool, keeps stdout/stderr in $OUT.
expect() {
    local want=$1 desc=$2
    shift 2
    v2x "$@" >"$OUT/out" 2>"$OUT/err"
    local rc=$?
    [ "$rc" -eq "$want" ] || fail "$desc: exit $rc, wanted $want ($(head -c 300 "$OUT/err"))"
}
has() {  # has DESCRIPTION TEXT: stdout of the last run contains TEXT
    grep -qF -- "$2" "$OUT/out" || fail "$1: no '$2' in: $(head -c 600 "$OUT/out")"
}
segments() { ipcs -m | grep -c '^0x' ; }

# No owner: reading fails clearly and creates nothing.
for what in gnss trace vehicle; do
    expect 1 "show $what without owner" show "$what"
    grep -q "no owner" "$OUT/err" || fail "show $what without owner: $(cat "$OUT/err")"
done
expect 1 "push without owner" gnss push --lon 116.4 --lat 39.9 --speed 10 --heading 90
[ "$(segments)" -eq 0 ] || fail "reading without owner created segments: $(ipcs -m)"

# Started directly (not through v2x) so that $! is the owner itself.
"${EMU[@]}" "$TOOL" owner gnss trace vehicle >"$OUT/owner" 2>&1 &
OWNER=$!
trap 'kill -KILL "$OWNER" 2>/dev/null; rm -rf "$OUT"' EXIT
for _ in $(seq 1 200); do
    v2x show gnss >/dev/null 2>&1 && break
    sleep 0.05
done

expect 0 "empty fix" show gnss
has "empty fix" "no fix stored yet"
expect 0 "empty trace" --json show trace
has "empty trace" '"count":0'

# Three fixes of a car driving east at 10 m/s.
for i in 1 2 3; do
    expect 0 "push $i" gnss push --lon "116.40$i" --lat 39.9 --speed 10 --heading 90 --time-ms "${i}000"
    has "push $i" "Add 1 GNSS to trace. Totally $i , index = $i"
done
expect 0 "push json" --json gnss push --lon 116.404 --lat 39.9 --speed 10 --heading 90 --precision 0.5
has "push json" '"trace":{"index":4,"count":4}'
[ "$(wc -l <"$OUT/out")" -eq 1 ] || fail "push json: more than the JSON line on stdout"

expect 0 "show gnss" --json show gnss
has "show gnss" '"longitude":116.404'
has "show gnss" '"precision":0.5'
has "show gnss" '"motion":{"time":'
has "show gnss" '"heading":0,'
has "show gnss" '"predicted":{"longitude":116.404'

expect 0 "show trace" --json show trace
has "show trace" '"index":4,"count":4,"damaged":false,"shown":4'
has "show trace" '{"slot":4,"fix":{'
grep -o '"slot":[0-9]*' "$OUT/out" | tr '\n' ' ' | grep -q '"slot":4 "slot":3 "slot":2 "slot":1 ' ||
    fail "show trace: not newest first: $(grep -o '"slot":[0-9]*' "$OUT/out" | tr '\n' ' ')"
expect 0 "show trace -n 2" show trace -n 2
[ "$(grep -c '  slot ' "$OUT/out")" -eq 2 ] || fail "show trace -n 2: $(cat "$OUT/out")"
has "show trace -n 2" "lon 116.4040000"

# Bad input: exit 2, one line on stderr, nothing written.
while IFS='|' read -r desc args; do
    # shellcheck disable=SC2086
    expect 2 "$desc" $args
    [ "$(wc -l <"$OUT/err")" -eq 1 ] || fail "$desc: wanted one line on stderr: $(cat "$OUT/err")"
    [ ! -s "$OUT/out" ] || fail "$desc: wrote to stdout: $(cat "$OUT/out")"
done <<'CASES'
longitude beyond 180|gnss push --lon 180.5 --lat 39.9 --speed 10 --heading 90
latitude beyond 90|gnss push --lon 116 --lat 90.01 --speed 10 --heading 90
heading 360|gnss push --lon 116 --lat 39.9 --speed 10 --heading 360
heading negative|gnss push --lon 116 --lat 39.9 --speed 10 --heading -1
heading nan|gnss push --lon 116 --lat 39.9 --speed 10 --heading nan
negative speed|gnss push --lon 116 --lat 39.9 --speed -0.1 --heading 90
missing heading|gnss push --lon 116 --lat 39.9 --speed 10
unknown option|gnss push --lon 116 --lat 39.9 --speed 10 --heading 90 --alt 3
option twice|gnss push --lon 116 --lon 117 --lat 39.9 --speed 10 --heading 90
time beyond the minute|gnss push --lon 116 --lat 39.9 --speed 10 --heading 90 --time-ms 60000
no subcommand|gnss
trace count zero|show trace -n 0
disabled what|vehicle disabled maybe
CASES
expect 0 "trace after bad input" --json show trace
has "trace after bad input" '"index":4,"count":4'

# The disabled-vehicle event, marked as set by hand, and cleared again.
expect 0 "disabled on" vehicle disabled on
expect 0 "vehicle after on" --json show vehicle
has "vehicle after on" '"eventFlags":{"value":{"bits":"0010","disabled":true},"source":3,"sourceName":"set by hand"}'
expect 0 "disabled off" --json vehicle disabled off
has "disabled off" '"disabled":false,"eventFlags":"0000","source":0'

kill -TERM "$OWNER"
wait "$OWNER" || fail "owner exit $?: $(cat "$OUT/owner")"
[ "$(segments)" -eq 0 ] || fail "owner left segments behind: $(ipcs -m)"

[ "$fails" -eq 0 ] || { echo "$fails failures"; exit 1; }
echo "all space tool checks passed"
