# Helpers for the tool's test scripts. Source it with the script's arguments:
#   source ToolTestLib.sh "$@"     (TOOL [EMULATOR...])
# Each check prints "ok" or "FAIL" with its name; finish() prints the tally and
# sets the exit status. Run inside a private IPC namespace.

TOOL="$1"
shift
EMULATOR=("$@")
WORK="$(mktemp -d)"
CHECKS=0
FAILED=0
OWNER_PID=""
RC=0
COMMAND=""

trap '[ -n "$OWNER_PID" ] && kill -KILL "$OWNER_PID" 2>/dev/null; rm -rf "$WORK"' EXIT

v2x() { "${EMULATOR[@]}" "$TOOL" "$@"; }

pass() { CHECKS=$((CHECKS + 1)) && echo "ok   $1"; }

fail() {
    CHECKS=$((CHECKS + 1))
    FAILED=$((FAILED + 1))
    echo "FAIL $1"
    shift
    printf '     %s\n' "$@"
}

# run CMD...: runs the tool, keeping stdout, stderr and the exit code in
# $WORK/out, $WORK/err and RC.
run() {
    COMMAND="$*"
    v2x "$@" >"$WORK/out" 2>"$WORK/err"
    RC=$?
}

# judge NAME CONDITION [WANTED]: passes when the shell condition holds, else
# fails showing the last run of the tool.
judge() {
    if eval "$2"; then
        pass "$1"
    else
        fail "$1" "command: $COMMAND" "exit $RC" "stdout: $(cat "$WORK/out")" "stderr: $(cat "$WORK/err")" \
            "wanted: ${3:-$2}"
    fi
}

# expect_out NAME EXPECTED CMD...: exit 0 and stdout exactly EXPECTED.
expect_out() {
    local name="$1" expected="$2"
    shift 2
    run "$@"
    judge "$name" '[ "$RC" -eq 0 ] && [ "$(cat "$WORK/out")" = "$expected" ]' "$expected"
}

# expect_grep NAME PATTERN CMD...: exit 0 (or $CODE if set) and a line of
# stdout matches the extended regex.
expect_grep() {
    local name="$1" pattern="$2"
    shift 2
    run "$@"
    judge "$name" '[ "$RC" -eq "${CODE:-0}" ] && grep -Eq -- "$pattern" "$WORK/out"' "exit ${CODE:-0}: $pattern"
}

# expect_error NAME CODE PATTERN CMD...: exit CODE, nothing on stdout, and
# exactly one line on stderr matching PATTERN.
expect_error() {
    local name="$1" code="$2" pattern="$3"
    shift 3
    run "$@"
    judge "$name" '[ "$RC" -eq "$code" ] && [ ! -s "$WORK/out" ] && [ "$(wc -l <"$WORK/err")" -eq 1 ] &&
        grep -Eq -- "$pattern" "$WORK/err"' "exit $code, one line: $pattern"
}

# expect_fresh NAME LIMIT EXPECTED REFRESH CMD...: runs the shell command
# REFRESH, then the tool with CMD, and expects EXPECTED on stdout. What REFRESH
# stored is surely younger than LIMIT seconds only if both took less than
# that; a slow machine (ARM under load) gets up to five tries at it.
expect_fresh() {
    local name="$1" limit="$2" expected="$3" refresh="$4" start
    shift 4
    for _ in 1 2 3 4 5; do
        start=${EPOCHREALTIME/./}
        eval "$refresh"
        run "$@"
        (( ${EPOCHREALTIME/./} - start < limit * 1000000 )) && break
    done
    judge "$name" '[ "$RC" -eq 0 ] && [ "$(cat "$WORK/out")" = "$expected" ]' "$expected"
}

# expect_no_ipc NAME: no segment or semaphore set left in this namespace.
expect_no_ipc() {
    judge "$1" '[ "$(ipcs -m -s | grep -c "^0x")" -eq 0 ]' "nothing in: $(ipcs -m -s)"
}

# start_owner [LIST...]: starts `v2xshm owner` in the background and waits
# for its ready line.
start_owner() {
    # Not through v2x: a backgrounded function runs in a subshell, and the
    # signals must reach the tool itself. The previous owner's output goes
    # first: the new one truncates it only once it runs, and its "owning"
    # line would otherwise be taken for the new owner's.
    : >"$WORK/owner.out"
    "${EMULATOR[@]}" "$TOOL" owner "$@" >"$WORK/owner.out" 2>"$WORK/owner.err" &
    OWNER_PID=$!
    for _ in $(seq 200); do
        grep -q '^owning ' "$WORK/owner.out" && return 0
        kill -0 "$OWNER_PID" 2>/dev/null || break
        sleep 0.05
    done
    fail "owner $* started" "$(cat "$WORK/owner.out" "$WORK/owner.err")"
    return 1
}

# stop_owner [SIGNAL]: stops the owner (TERM by default); checks it ended
# cleanly and said what it released.
stop_owner() {
    local sig="${1:-TERM}" rc
    kill -"$sig" "$OWNER_PID"
    wait "$OWNER_PID"
    rc=$?
    OWNER_PID=""
    judge "owner stops on SIG$sig" '[ "$rc" -eq 0 ] && grep -q "^released " "$WORK/owner.out"' \
        "exit 0 and a released line: $(cat "$WORK/owner.out" "$WORK/owner.err")"
}

finish() { echo "$CHECKS checks, $FAILED failed" && [ "$FAILED" -eq 0 ]; }
