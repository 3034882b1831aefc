# Hostile arguments to every command of the v2xshm tool: each is refused with
# exit 2, one line on stderr and nothing on stdout, within a time limit, with
# stdin at /dev/zero; nothing is created without an owner and nothing written
# with one.
# Usage: bash ToolHostileTest.sh TOOL [EMULATOR...]  (in a private IPC namespace)
source "$(dirname "$0")/ToolTestLib.sh" "$@"

v2x() {
    timeout 60 "${EMULATOR[@]}" "$TOOL" "$@" </dev/zero
}

LONG=$(printf 'x%.0s' $(seq 5000))
HEX=$(printf '00%.0s' $(seq 2049))
mkdir "$WORK/dir"
# Placeholders in the table: @L a 5000-byte text, @D a directory, @E an
# empty word, @Z /dev/zero as a file, @H the data of a frame one byte too
# long.
PUSH="--lon 120 --lat 30 --speed 1 --heading 0"
ROWS=$(cat <<TABLE
--bogus status
launch
help extra
status extra
check nolist
owner nolist
owner --bogus
config
config list extra
config get @E
config set k u8 256
config set k i32 12a
config set k f64 nan
config set k text xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx
config set abcdefghijklmnopq i32 1
config set k float 1
show
show gnss extra
show trace -n -1
show vehicle --bogus
show map --node 12x
show procs --stale nan
gnss
gnss push --bogus
gnss push --lon nan --lat 30 --speed 1 --heading 0
gnss push $PUSH --time-ms -1
vehicle disabled maybe
map
map load
map load @D
map load @Z
map age x
locate nan 30 0
locate 120 30 361
locate 120 30
locate --gnss extra
locate --bogus
signal
signal age x
frame
frame decode @L
frame decode -
frame decode fafb0
frame build --type 256 --subtype 1
frame build --type 1
frame build --type 1 --subtype 2 @H
comm log --type 3 --peer 1 --length 1
comm log --type 1 --peer 1
comm log --type 1 --peer 1 --length 1 --detail 12345678901234567
comm log --bogus
ptc push --ptc-id 65536 --source 1 --source-id a --lon 1 --lat 1
ptc push --ptc-id 1 --source 1 --source-id a --lon nan --lat 1
ptc push --ptc-id 1 --source 1 --source-id @L --lon 1 --lat 1
ptc push --lon 120 --lat 30
ptc age x
obu
obu push --id 01234567890123456 --lon 1 --lat 1
obu push --ptc-id 1 --id a --lon 1 --lat 1
rsu push --id r --lon 1 --lat 91
rsu bogus
targets build --key nan
id next extra
feed
feed sixteen_chars_xy
feed a b c
log
log listen --port 65536
log listen --count 0
TABLE
)

# hostile PASS: runs every row of the table.
hostile() {
    local row word args
    local -A placeholder=([@L]="$LONG" [@D]="$WORK/dir" [@E]="" [@Z]=/dev/zero [@H]="$HEX")
    while IFS= read -r row; do
        args=()
        for word in $row; do
            if [[ -v placeholder[$word] ]]; then args+=("${placeholder[$word]}"); else args+=("$word"); fi
        done
        expect_error "$1: ${row:0:60}" 2 '^v2xshm: ' "${args[@]}"
    done <<<"$ROWS"
}

hostile "no owner"
expect_no_ipc "refusals without an owner create nothing"

# The lists' content without the ages, which move on between two reads.
snapshot() {
    local what
    v2x check
    v2x config list
    for what in gnss trace vehicle map location signals rsi phases rsi-results comm ui ptc obu rsu targets \
                collisions procs; do
        v2x --json show $what
    done | sed -E 's/"(age|ageSeconds|refreshTime)":[0-9.e-]+//g; s/"predicted":\{[^}]*\}//'
}
start_owner || { finish; exit 1; }
v2x config set k i32 7 >/dev/null
v2x gnss push $PUSH >/dev/null
before=$(snapshot)
hostile "owner"
judge "refusals with an owner write nothing" '[ "$(snapshot)" = "$before" ]'
stop_owner

for how in help --help; do
    run $how
    missing=""
    for cmd in owner status check config show gnss vehicle map locate signal rsi frame comm ptc obu rsu targets id \
               feed log help; do
        grep -Eq "^  $cmd( |\$)" "$WORK/out" || missing+=" $cmd"
    done
    judge "$how lists every command" '[ "$RC" -eq 0 ] && [ -z "$missing" ]' "missing:$missing"
done
finish
