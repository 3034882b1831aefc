# The process list, hand feeding and the log collector of the v2xshm tool.
# Runs in private IPC and network namespaces (loopback only).
source "$(dirname "$0")/ToolTestLib.sh" "$@"

# Reading without an owner creates nothing: the tool links none of the
# library's process-wide objects (the watchdog feeder's list manager).
expect_error "show procs without owner" 1 'list procs \(key 77101\) has no owner' show procs
expect_error "feed without owner" 1 'has no owner' feed alpha
expect_grep "status lists the process list" '^procs +DevProcListMng +77101 +2564 +absent' status
expect_no_ipc "nothing created without an owner"

for bad in "show procs --stale -1" "show procs --stale x" "show procs extra" "feed" \
           "feed sixteen_chars_xy" "feed a sixteen_chars_xy" "feed a b c" "log" "log listen --port 0" \
           "log listen --count 0" "log listen --port"; do
    # shellcheck disable=SC2086
    expect_error "bad input: $bad" 2 '.' $bad
done
expect_no_ipc "nothing created by bad input"

start_owner procs
expect_out "empty list" "no process has fed" show procs

# Two feeders, as two processes would; each feeds at once, then every 30 s.
feeders=()
for name in alpha fifteen_chars_x; do
    "${EMULATOR[@]}" "$TOOL" feed "$name" "${name:0:8}" >"$WORK/feed-$name.out" 2>&1 &
    feeders+=($!)
done
for name in alpha fifteen_chars_x; do
    for _ in $(seq 200); do
        grep -q "^fed $name" "$WORK/feed-$name.out" && break
        sleep 0.05
    done
done
expect_grep "fed entries listed alive" '^alpha +alpha +[0-9-]+ [0-9:.]+ +[0-9]+\.[0-9]  alive$' show procs
expect_grep "15-character name kept whole" '^fifteen_chars_x +fifteen_ +' show procs
expect_grep "older than the threshold is stale" '^alpha .*  stale$' show procs --stale 0
expect_grep "json" '^\{"staleSeconds":90,"procs":\[\{"name":"alpha","tag":"alpha","refreshTime":[0-9.]+,"age":[0-9.e-]+,"stale":false\},\{"name":"fifteen_chars_x",' --json show procs

# A feeder stops on SIGINT; its entry stays, ageing.
kill -INT "${feeders[0]}"
wait "${feeders[0]}"
rc=$?
if [ "$rc" -eq 0 ] && grep -q '^stopped feeding alpha' "$WORK/feed-alpha.out"; then
    pass "feeder stops on SIGINT"
else
    fail "feeder stops on SIGINT" "exit $rc" "$(cat "$WORK/feed-alpha.out")"
fi
expect_grep "stopped feeder keeps its entry" '^alpha ' show procs
kill -INT "${feeders[1]}"
wait "${feeders[1]}"
stop_owner INT
expect_no_ipc "owner removed the list"

# The log collector prints each datagram with its time of arrival.
"${EMULATOR[@]}" "$TOOL" log listen --count 2 >"$WORK/log.out" 2>&1 &
listener=$!
for _ in $(seq 200); do
    grep -q '^listening on UDP port 11101' "$WORK/log.out" && break
    sleep 0.05
done
printf '[gnssd] first' >/dev/udp/127.0.0.1/11101
printf '[gnssd] second line' >/dev/udp/127.0.0.1/11101
for _ in $(seq 200); do
    kill -0 "$listener" 2>/dev/null || break
    sleep 0.05
done
if ! kill -0 "$listener" 2>/dev/null && wait "$listener" &&
    [ "$(sed -n 2p "$WORK/log.out" | cut -d' ' -f3-)" = "[gnssd] first" ] &&
    [ "$(sed -n 3p "$WORK/log.out" | cut -d' ' -f3-)" = "[gnssd] second line" ] &&
    sed -n 2p "$WORK/log.out" | grep -Eq '^[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9:]{8}\.[0-9]{3} '; then
    pass "log listen prints datagrams with their arrival time"
else
    kill -KILL "$listener" 2>/dev/null
    fail "log listen prints datagrams with their arrival time" "$(cat "$WORK/log.out")"
fi
"${EMULATOR[@]}" "$TOOL" --json log listen --port 11105 --count 1 >"$WORK/log.out" 2>&1 &
listener=$!
for _ in $(seq 200); do
    grep -q '^listening' "$WORK/log.out" && break
    sleep 0.05
done
printf 'a"b' >/dev/udp/127.0.0.1/11105
for _ in $(seq 200); do
    kill -0 "$listener" 2>/dev/null || break
    sleep 0.05
done
kill -KILL "$listener" 2>/dev/null
if grep -Eq '^\{"time":[0-9.]+,"from":"127\.0\.0\.1:[0-9]+","text":"a\\"b"\}$' "$WORK/log.out"; then
    pass "log listen as json"
else
    fail "log listen as json" "$(cat "$WORK/log.out")"
fi

finish
