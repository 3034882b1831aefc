# The map commands of the v2xshm tool: loading received map files (and
# refusing broken ones without touching the list), showing the map, aging it,
# locating a vehicle and reading the published location.
# Usage: bash ToolMapTest.sh TOOL [EMULATOR...]  (in a private IPC namespace)
source "$(dirname "$0")/ToolTestLib.sh" "$@"

SAMPLE="$(cd "$(dirname "$0")/../.." && pwd)/data/sample-intersection.map"
# On the northbound approach, 5.25 m east and 90 m south of the centre node.
ON_APPROACH="120.120054518 29.999190611"
# 20 m north of the centre node, past the intersection.
BEYOND="120.120054518 30.000179864"

# patched NAME OFFSET BYTE: a copy of the sample with one byte replaced.
patched() {
    cp "$SAMPLE" "$WORK/$1"
    printf "\\x$3" | dd of="$WORK/$1" bs=1 seek="$2" conv=notrunc status=none
}
head -c 1000 "$SAMPLE" >"$WORK/truncated.map"
patched name65.map 36 41          # the centre node's name length: 65
cp "$SAMPLE" "$WORK/trailing.map"
printf 'xyz' >>"$WORK/trailing.map"
: >"$WORK/empty.map"
head -c 1048577 /dev/zero >"$WORK/huge.map"

# The list's content without the ages, which move on between two reads.
map_snapshot() {
    v2x --json show map | sed -E 's/"ageSeconds":[0-9.]+//g'
}

# --- No owner: clear refusals, nothing created.
expect_error "load without owner" 1 'list map .*no owner' map load "$SAMPLE"
expect_error "locate without owner" 1 'no owner' locate $ON_APPROACH 0
expect_error "show location without owner" 1 'list location .*no owner' show location
expect_no_ipc "map commands without owner create nothing"

# --- With an owner.
start_owner || { finish; exit 1; }
expect_out "empty map" "map: 0 nodes" show map
expect_out "nothing located yet" "no location published yet" show location
expect_grep "load the sample" '^loaded .*sample-intersection.map \(3472 bytes\): 2 nodes, 6 links, 14 lanes, 78 points, 42 movements' \
    map load "$SAMPLE"
before=$(map_snapshot)
# Broken files are refused and leave the map as it was (which field the
# decoder refuses where: CheckedDecoders in the local map tests).
expect_error "truncated file" 2 'cut short: a count or field at byte [0-9]+ runs past the file.s 1000 bytes' \
    map load "$WORK/truncated.map"
expect_error "name of 65 bytes" 2 'not a valid map message: .* at byte 36$' map load "$WORK/name65.map"
expect_error "bytes after the message" 2 '3 bytes after the end of the map message' map load "$WORK/trailing.map"
expect_error "empty file" 2 'empty file' map load "$WORK/empty.map"
expect_error "file over 1 MiB" 2 'larger than 1048576 bytes \(the map list.s size\)$' map load "$WORK/huge.map"
expect_error "absent file" 2 'cannot read .*/absent.map: No such file or directory$' map load "$WORK/absent.map"
judge "broken files leave the map" '[ "$(map_snapshot)" = "$before" ]'
expect_grep "load again merges" ': 2 nodes, 6 links' map load "$SAMPLE"
expect_grep "two nodes listed" '^map: 2 nodes$' show map
expect_grep "one node" '^  link from 1005 "Mill Rd northbound": 3 lanes, 5 points, 285.1 m to the stop line$' \
    show map --node 1001
expect_error "absent node" 1 'no node 5 in the map' show map --node 5
expect_grep "node id in hexadecimal" '^node 1001 ' show map --node 0x3E9
expect_error "node id out of range" 2 "node id '9223372036854775808' is outside -9223372036854775808\\.\\." \
    show map --node 9223372036854775808
run --json show map
judge "map as json" 'python3 -c "import json,sys; m=json.load(sys.stdin); assert m[\"count\"]==2 and len(m[\"nodes\"][0][\"links\"])==4" <"$WORK/out"'

expect_out "locate on the approach" \
    "node 1001, link from 1005: 75.0 m to the stop line, max 13.89 m/s (50.0 km/h), min 2.78 m/s (10.0 km/h)
  no light received for node 1001" \
    locate $ON_APPROACH 0
expect_grep "published location" '^node 1001, link from 1005: 75.0 m .*; computed [0-9.]+ s ago$' show location
expect_out "beyond the intersection" "no link within reach (-2); the published location is left as it was" \
    locate $BEYOND 0
expect_grep "location kept" '^node 1001, link from 1005: 75.0 m' show location
expect_grep "locate as json" '^\{"result":1,.*"location":\{"nodeId":1001,"upstreamNodeId":1005,"dis2StopLine":75\.0' \
    --json locate $ON_APPROACH 360
expect_grep "location as json" '^\{"nodeId":1001,"upstreamNodeId":1005,.*"maxSpeed":13.89,"minSpeed":2.78' \
    --json show location
expect_error "locate from an absent fix" 1 'no GNSS fix' locate --gnss

# With the sample's lights (red for 4 s, then green to 60 s) and road works.
v2x signal load "$(dirname "$SAMPLE")/sample-signal.tl" >/dev/null
v2x rsi load "$(dirname "$SAMPLE")/sample-rsi.rsi" >/dev/null
expect_grep "locate with the light" '^  to 1003 \(phase 2\): (red|green), changes in [0-9.]+ s; go at 10 to 50 km/h$' \
    locate $ON_APPROACH 0
expect_grep "road works on the approach" '^  road-side information, 0 m away: file#1: Road works' locate $ON_APPROACH 0
expect_grep "phases published" '^node 1001, movement to 1004, phase 1: red, changes in [0-9.]+ s; computed' show phases
expect_grep "road works published" '^\[0\] 0 m: file#1: Road works' show rsi-results

expect_fresh "age keeps fresh nodes" 10 \
    "aged the map list: 2 nodes before, 2 after (0 not refreshed for more than 10.0 s dropped)" \
    'v2x map load "$SAMPLE" >/dev/null' map age

stop_owner TERM
expect_no_ipc "a stopped owner leaves nothing"
finish
