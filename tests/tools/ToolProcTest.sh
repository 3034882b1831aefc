# The process list, hand feeding and the log collector of the v2xshm tool.
# Runs in private IPC and network namespaces (loopback only).
source "$(dirname "$0")/ToolTestLib.sh" "$@"

# wait_for FILE PATTERN: up to 10 s for a line of FILE to match.
wait_for() {
    for _ in $(seq 200); do
        grep -Eq "$2" "$1" 2>/dev/null && return 0
        sleep 0.05
    done
    return 1
}

# Reading without an owner creates nothing: the tool links none of the
# library's process-wide objects (the watchdog feeder's list manager).
expect_error "show procs without owner" 1 'list procs \(key 77101\) has no owner' show procs
expect_error "feed without owner" 1 'has no owner' feed alpha
expect_no_ipc "nothing created without an owner"

start_owner procs
expect_out "empty list" "no process has fed" show procs
feeders=()
for name in alpha fifteen_chars_x; do
    "${EMULATOR[@]}" "$TOOL" feed "$name" "${name:0:4}" >"$WORK/feed-$name.out" 2>&1 &
    feeders+=($!)
    wait_for "$WORK/feed-$name.out" "^fed $name"
done
expect_grep "fed entries listed alive" '^alpha +alph +[0-9-]+ [0-9:.]+ +[0-9]+\.[0-9]  alive$' show procs
expect_grep "older than the threshold is stale" '^fifteen_chars_x +fift .*  stale$' show procs --stale 0
expect_grep "json" '^\{"staleSeconds":90,"procs":\[\{"name":"alpha","tag":"alph","refreshTime":[0-9.]+,"age":[0-9.e-]+,"stale":false\},\{"name":"fifteen_chars_x",' --json show procs
kill -INT "${feeders[@]}"
judge "feeder stops on SIGINT" 'wait "${feeders[0]}" && grep -q "^stopped feeding alpha" "$WORK/feed-alpha.out"'
wait "${feeders[1]}"
expect_grep "a stopped feeder's entry stays" '^alpha ' show procs
stop_owner INT

# The log collector prints each datagram with its time of arrival.
"${EMULATOR[@]}" "$TOOL" log listen --count 2 >"$WORK/log.out" 2>&1 &
listener=$!
wait_for "$WORK/log.out" '^listening on UDP port 11101$'
printf '[gnssd] first' >/dev/udp/127.0.0.1/11101
printf '[gnssd] second "line"' >/dev/udp/127.0.0.1/11101
wait_for "$WORK/log.out" 'second'
for _ in $(seq 100); do kill -0 "$listener" 2>/dev/null || break; sleep 0.05; done
judge "log listen prints datagrams with their arrival time" '! kill -0 "$listener" 2>/dev/null && wait "$listener" &&
    [ "$(cut -d" " -f3- "$WORK/log.out" | sed 1d)" = "$(printf "[gnssd] first\n[gnssd] second \"line\"")" ] &&
    sed -n 2p "$WORK/log.out" | grep -Eq "^[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9:]{8}\.[0-9]{3} "' "$(cat "$WORK/log.out")"
kill -KILL "$listener" 2>/dev/null

finish
