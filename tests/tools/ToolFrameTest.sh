#!/bin/bash
# The tool's frame, message-traffic and UI client commands, from separate
# processes around one owner; bad input refused with one line, nothing left.
# Usage: ToolFrameTest.sh TOOL [EMULATOR...]  (in a private IPC namespace)
source "$(dirname "$0")/ToolTestLib.sh" "$@"

# --- Frames need no list.
expect_out "build the example frame" "fafb01020002102031" frame build --type 1 --subtype 2 1020
expect_out "build an empty frame" '{"frame":"fafb0000000000","bytes":7}' --json frame build --subtype 0 --type 0
v2x frame build --type 9 --subtype 8 "$(printf 'ab%.0s' $(seq 2048))" >"$WORK/big"
expect_grep "the largest frame decodes" '^1 frame in 2055 bytes$' frame decode - <"$WORK/big"
expect_out "frames back to back" \
    '{"bytes":16,"frames":2,"clean":true,"found":[{"kind":"frame","offset":0,"bytes":9,"type":1,"subType":2,"dataLen":2,"data":"1020","checkOk":true},{"kind":"frame","offset":9,"bytes":7,"type":0,"subType":0,"dataLen":0,"data":"","checkOk":true}]}' \
    --json frame decode "fafb0102000210 2031 fafb0000000000"
CODE=1 expect_grep "a stray byte is skipped" '^skipped 1 byte at 0$' frame decode 00fafb01020002102031
judge "then the frame" 'sed -n 2p "$WORK/out" | grep -qx "frame at 1: type 1, sub-type 2, 2 data bytes \[1020\], check byte ok"'
CODE=1 expect_grep "a wrong check byte is named" "check byte 30 wrong \(expected 31\)" frame decode fafb01020002102030
CODE=1 expect_grep "a cut frame is named" "^incomplete frame at 0: .*, 8 of 12 bytes" frame decode fafb010200051020

# --- No owner: nothing is created.
for cmd in "show comm" "show ui" "comm log --type 1 --peer 1 --length 1"; do
    # shellcheck disable=SC2086
    expect_error "$cmd without owner" 1 "list (comm \(key 77601\)|ui \(key 77104\)) has no owner" $cmd
done
expect_no_ipc "reading without owner creates nothing"

start_owner ui comm commsum || { finish; exit 1; }
expect_out "no clients" '{"count":0,"clients":[]}' --json show ui
for i in 1 2 3; do
    expect_grep "log $i" "^logged a type [12] message .*: slot $i, $i in the ring" \
        comm log --type $((i / 3 + 1)) --peer $((40 + i % 2)) --length 4294967295 --detail "m$i"
done
expect_out "log as json" '{"slot":4,"count":4,"peerRow":true}' --json comm log --type 1 --peer 7 --length 5
run --json show comm -n 2
tr , '\n' <"$WORK/out" >"$WORK/fields"
# Dots for the quotes: the slots newest first, the 64-bit total, peers in order.
judge "newest first, 64-bit totals, peers in order" 'grep -o "slot.:[0-9]*" "$WORK/fields" | tr "\n" " " |
    grep -qx "slot.:4 slot.:3 " && grep -qx ".type1Bytes.:8589934595" "$WORK/fields" && grep -q "peers.:.{.peer.:41" "$WORK/fields"'
expect_grep "peer totals as text" '^  peer 41: type 1: 1 messages, 4294967295 B; type 2: 1 messages, 4294967295 B$' show comm
expect_error "another key has no owner" 1 'list comm \(key 5\) has no owner' show comm --key 5
stop_owner
expect_no_ipc "the owner removed its lists"
finish
