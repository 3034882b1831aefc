# The owner, status and config commands of the v2xshm tool, between processes.
# Usage: bash ToolFoundationTest.sh TOOL [EMULATOR...]  (in a private IPC namespace)
source "$(dirname "$0")/ToolTestLib.sh" "$@"

# --- Without an owner: clear refusals, nothing created.
expect_grep "status without owner" '^config +DevConfigMng +77102 +6660 +absent' status
for cmd in "list" "get speed" "set speed i32 1"; do
    # shellcheck disable=SC2086
    expect_error "config $cmd without owner" 1 'list config .*no owner' config $cmd
done
expect_no_ipc "reading without owner creates nothing"

# --- With an owner.
start_owner || { finish; exit 1; }
judge "ready line names every list" \
    'grep -Eq "^owning procs config gnss ([a-z]+ )*vehicle trace map ([a-z]+ )*location( [a-z]+)* \(pid [0-9]+\)$" "$WORK/owner.out"'
expect_grep "status shows the owned list" '^config +DevConfigMng +77102 +6660 +present +1 +free$' status
expect_grep "status as json" '^\{"lists":\[\{"name":"procs",[^}]*\},\{"name":"config","manager":"DevConfigMng","key":77102,"size":6660,"segment":true,"segmentSize":6660,"attached":1,"semaphore":"free","waiting":0,"owned":true\}' --json status
expect_error "second owner is refused" 1 'already has an owner' owner config
expect_out "empty list" "no entries" config list

expect_out "set u8" "set b = 255 (u8)" config set b u8 255
expect_out "set i32" "set speed = -2147483648 (i32)" config set speed int -2147483648
expect_out "set i64" "set big = 9223372036854775807 (i64)" config set big i64 9223372036854775807
expect_out "set f64" "set ratio = 0.1 (f64)" config set ratio double 0.1
expect_out "set text" "set iface = eth0 wlan (text)" config set iface text "eth0 wlan"
expect_out "set hex" "set mask = 255 (i32)" config set mask i32 0xff
expect_out "a leading zero is decimal" "set b = 10 (u8)" config set b u8 010
expect_out "set a non-ASCII key" "set straße = 1 (u8)" config set straße u8 1
expect_out "set 16-char key" "set sixteen_chars_ok = 1 (u8)" config set sixteen_chars_ok u8 1

expect_out "get i32" "-2147483648" config get speed
expect_out "get f64 without a type" "0.1" config get ratio
expect_out "get f64 as i64" "4591870180066957722" config get ratio i64
expect_out "get text" "eth0 wlan" config get iface
expect_out "get json" '{"key":"ratio","type":"f64","value":0.1}' --json config get ratio
expect_error "get absent key" 1 'no config entry nothing' config get nothing
expect_error "get as wrong type" 1 'holds a i32 value, not f64' config get speed f64
expect_out "replace keeps one entry" "set b = 7 (u8)" config set b u8 7

expect_out "list in key order" "$(printf '%s\n' \
    'b                 u8    7' \
    'big               i64   9223372036854775807' \
    'iface             text  eth0 wlan' \
    'mask              i32   255' \
    'ratio             i64   4591870180066957722 (as f64: 0.1)' \
    'sixteen_chars_ok  u8    1' \
    'speed             i32   -2147483648' \
    'straße            u8    1')" config list
expect_grep "list as json" '^\{"count":8,"entries":\[\{"key":"b","type":"u8","value":7\},.*\{"key":"iface","type":"text","value":"eth0 wlan"\}' --json config list

stop_owner TERM
expect_no_ipc "a stopped owner leaves nothing"
expect_error "values are gone with the owner" 1 'no owner' config get b

finish
