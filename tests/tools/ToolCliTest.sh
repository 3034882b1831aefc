# The command line of the v2xshm tool: help for every command, the version,
# refused flags, JSON of awkward texts, owner --except and check.
source "$(dirname "$0")/ToolTestLib.sh" "$@"

commands=(owner status check "config list" "config get" "config set" "gnss push" "vehicle disabled"
          "map load" "map age" locate "signal load" "signal age" "rsi load" "rsi age" "frame decode"
          "frame build" "comm log" "ptc push" "ptc age" "obu push" "rsu push" "targets build" "id next"
          feed "log listen" bridge)
for what in gnss trace vehicle map location signals rsi phases rsi-results comm ui ptc obu rsu targets \
            collisions procs; do
    commands+=("show $what")
done
for cmd in "${commands[@]}"; do
    # shellcheck disable=SC2086
    expect_grep "help: $cmd" "^usage: v2xshm $cmd( |\$)" $cmd --help
done
expect_grep "help states the number rule" '010 is ten.*0x10 is sixteen' --help
expect_grep "version" '^v2xshm [0-9]+\.[0-9]+\.[0-9]+$' --version
expect_error "unknown flag" 2 'bogus; usage: v2xshm show procs \[--stale SECONDS\]$' show procs --bogus
CODE=1 expect_grep "check with nothing present" "^no list present$" check
expect_no_ipc "nothing created"

# Another process owns config here: the owner leaves it alone.
start_owner --except config || { finish; exit 1; }
judge "owner --except" 'grep -q "^owning procs gnss " "$WORK/owner.out"'
expect_error "the excepted list has no owner" 1 'list config .*no owner' config list
expect_grep "check of every list present" '^all [0-9]+ lists consistent$' check
stop_owner

# An owner killed with SIGKILL leaves its list with nobody attached: check
# says so, and the other commands treat the list as having no owner.
start_owner config || { finish; exit 1; }
kill -KILL "$OWNER_PID" && wait "$OWNER_PID" 2>/dev/null
OWNER_PID=""
CODE=1 expect_grep "check names the gone owner" '^config +no owner +owner gone \(nobody attached' check
expect_error "config set refuses a list whose owner is gone" 1 'list config .*no owner \(owner gone\)' config set k i32 1
ipcrm -M 77102 -S 77102

# Texts with quotes, backslashes, control and non-UTF-8 bytes still give JSON.
start_owner config || { finish; exit 1; }
v2x config set 'q"b\' text "$(printf 'a\001\377\t"\\')" >/dev/null
for cmd in "config list" "config get q\"b\\" status check; do
    # shellcheck disable=SC2086
    run --json $cmd
    judge "json: $cmd" '[ "$RC" -eq 0 ] && python3 -m json.tool "$WORK/out" >/dev/null'
done
stop_owner
finish
