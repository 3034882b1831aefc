# The participant commands of the v2xshm tool: pushing participants, showing
# the lists, building targets from the own fix, ageing, drawing identifiers.
# Usage: bash ToolPtcTest.sh TOOL [EMULATOR...]  (in a private IPC namespace)
source "$(dirname "$0")/ToolTestLib.sh" "$@"

# --- Reading without an owner creates nothing.
expect_error "show without owner" 1 'list obu \(key 77201\) has no owner' show obu
expect_no_ipc "a refused read leaves no segment"

start_owner || { finish; exit; }
expect_out "empty list" "rsu: 0 records" show rsu
expect_out "first push inserts" 'inserted in obu: id "obu-b", local id 1' \
    obu push --id obu-b --lon 120.1205 --lat 30.0 --speed 8 --heading 270
expect_out "second push refreshes" '{"list":"obu","result":"refreshed","localID":1}' \
    --json obu push --id obu-b --lon 120.12 --lat 30.0009 --speed 8 --heading 270
# Any age under the 2 s limit: a loaded ARM machine may take a second to show it.
expect_grep "the refreshed position is shown" '^  local 1  id "obu-b"  lon 120.1200000, lat 30.0009000  speed 8 m/s  heading 270 deg  age [01]\.[0-9]{3} s$' show obu
expect_grep "another source is another participant" 'inserted in ptc: ptcID 7  source 2' \
    ptc push --ptc-id 7 --source 2 --source-id cam-1 --lon 120.12 --lat 30.0 --heading 90
v2x ptc push --ptc-id 7 --source 1 --source-id cam-1 --lon 120.12 --lat 30.0 >/dev/null
expect_grep "ptc list keeps both" '"count":2,.*"source":2,.*"source":1,' --json show ptc

expect_error "targets need an own fix" 1 'no own fix stored yet' targets build
v2x gnss push --lon 120.12 --lat 29.9991 --speed 10 --heading 0 >/dev/null
# The OBU is 0.0018 deg (200.151 m) due north of the car, dead ahead; both ptc 100.0755 m ahead.
expect_grep "targets measured from the fix" '^  type 2  distance 200\.2 m  bearing 0\.0 deg \(ahead\)  local 1  id "obu-b"' \
    targets build
expect_grep "published targets readable" '"list":"targets","count":3,"records":\[\{"tgtType":1,"distance":100\.07' \
    --json show targets
expect_out "collisions start empty" "collisions: 0 records" show collisions
refresh_all="v2x obu push --id obu-b --lon 120.12 --lat 30.0009 >/dev/null
    v2x ptc push --ptc-id 7 --source 2 --source-id cam-1 --lon 120.12 --lat 30.0 >/dev/null
    v2x ptc push --ptc-id 7 --source 1 --source-id cam-1 --lon 120.12 --lat 30.0 >/dev/null"
expect_fresh "ageing keeps fresh records" 2 \
    "aged the participant lists (records not refreshed for more than 2.0 s dropped): ptc 2 -> 2, obu 1 -> 1, rsu 0 -> 0" \
    "$refresh_all" ptc age
expect_out "identifiers drawn device-wide" "device-wide participant id 1" id next
expect_out "the next one" '{"givenID":2}' --json id next

stop_owner TERM
expect_no_ipc "a stopped owner leaves nothing"
finish
