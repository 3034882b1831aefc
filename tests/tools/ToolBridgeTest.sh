# The MQTT bridge against a real broker: two units, each in a private IPC
# namespace of its own, bridged through one mosquitto on a loopback port of
# the test's network namespace.
#   ToolBridgeTest.sh TOOL [EMULATOR...]
source "$(dirname "$0")/ToolTestLib.sh" "$@"
if ! command -v mosquitto >/dev/null || ! command -v mosquitto_sub >/dev/null; then
    echo "no mosquitto or mosquitto-clients: skipped"
    exit 77
fi
DATA="$(cd "$(dirname "$0")/../.." && pwd)/data"
PORT=18830
PERIOD=250
PIDS=()
trap '{ kill -KILL "${PIDS[@]}"; wait; } 2>/dev/null; rm -rf "$WORK"' EXIT

# wait_for SECONDS CONDITION: polls the shell condition every 50 ms.
wait_for() {
    local i
    for ((i = 0; i < $1 * 20; ++i)); do
        eval "$2" && return 0
        sleep 0.05
    done
    return 1
}

# Root of a user namespace only: the broker cannot switch to its own user.
start_broker() {
    printf 'listener %s 127.0.0.1\nallow_anonymous true\npersistence false\nuser root\n' "$PORT" >"$WORK/broker.conf"
    mosquitto -c "$WORK/broker.conf" >>"$WORK/broker.log" 2>&1 &
    BROKER=$!
    PIDS+=("$BROKER")
    wait_for 10 'mosquitto_sub -p $PORT -t probe -W 1 -C 1 -E 2>/dev/null'
}

# start_unit NAME [BRIDGE OPTIONS...]: an owner of every list in a new IPC
# namespace, and a bridge beside it; unit NAME runs commands there.
start_unit() {
    local name=$1 owner
    shift
    unshare --ipc "${EMULATOR[@]}" "$TOOL" owner >"$WORK/owner-$name.out" 2>&1 &
    owner=$!
    PIDS+=("$owner")
    eval "OWNER_$name=$owner"
    wait_for 20 'grep -aq "^owning " "$WORK/owner-$name.out"' || fail "unit $name starts"
    nsenter --ipc="/proc/$owner/ns/ipc" "${EMULATOR[@]}" "$TOOL" bridge --broker 127.0.0.1:$PORT --unit "$name" \
        --period $PERIOD "$@" >"$WORK/bridge-$name.out" 2>&1 &
    eval "BRIDGE_$name=$!"
    PIDS+=("$!")
}

unit() {
    local pid_var="OWNER_$1"
    shift
    nsenter --ipc="/proc/${!pid_var}/ns/ipc" "${EMULATOR[@]}" "$TOOL" "$@"
}

# subscribe FILE TOPIC: every message from now on, one line each: time, topic, payload.
subscribe() {
    mosquitto_sub -p $PORT -t "$2" -F '%U %t %p' >"$1" 2>&1 &
    PIDS+=("$!")
    sleep 0.3
}

map_nodes() { unit "$1" show map | head -1; }

# Refused command lines: nothing is started.
while IFS='|' read -r pattern args; do
    # shellcheck disable=SC2086
    expect_error "refused: $args" 2 "$pattern" bridge $args
done <<'ROWS'
^v2xshm: usage: bridge --broker|--unit A
unit 'all' must be|--broker h --unit all
unit 'a/b' must be|--broker h --unit a/b
broker port '0' is outside 1..65535|--broker h:0 --unit A
unknown list 'gps'|--broker h --unit A --lists ptc,gps
period '5' is outside 10..3600000|--broker h --unit A --period 5
has 17 characters|--broker h --unit A --config-keys ok,seventeen_chars_x
needs --cert and --key together|--broker h --unit A --cafile ca.pem --cert c.pem
option --period needs a value|--broker h --unit A --period
ROWS

start_broker || fail "broker starts" "$(cat "$WORK/broker.log")"
subscribe "$WORK/all.sub" 'v2x/#'
start_unit A --config-keys txpower,region
start_unit B
judge "both bridges connect" 'wait_for 20 "grep -aq ^connected \"$WORK/bridge-A.out\" && grep -aq ^connected \"$WORK/bridge-B.out\""' \
    "$(cat "$WORK"/bridge-*.out)"
judge "retained status with start time and lists" \
    '[[ $(mosquitto_sub -p $PORT -t v2x/A/status -C 1 -W 5) =~ ^\{\"unit\":\"A\",\"state\":\"online\",\"started\":[0-9.]+,\"lists\":\[\"ptc\", ]]'

# A map published once for the fleet reaches both units.
mosquitto_pub -p $PORT -q 1 -t v2x/all/in/map -f "$DATA/sample-intersection.map"
judge "fleet map reaches unit A" 'wait_for 10 "[ \"\$(map_nodes A)\" = \"map: 2 nodes\" ]"'
judge "fleet map reaches unit B" 'wait_for 10 "[ \"\$(map_nodes B)\" = \"map: 2 nodes\" ]"'
mosquitto_pub -p $PORT -q 1 -t v2x/B/in/signals -f "$DATA/sample-signal.tl"
judge "lights for unit B only" 'wait_for 10 "unit B show signals | grep -aq \"node 1001\""'
judge "and not for unit A" 'unit A show signals | grep -aq "^lights: 0"' "$(unit A show signals)"
judge "map published as JSON" 'wait_for 5 "grep -aq \"^[0-9.]* v2x/B/map {\\\"count\\\":2,\" \"$WORK/all.sub\""'

# A participant inserted on unit A is published within two periods.
unit A ptc push --ptc-id 42 --source 1 --source-id cam-9 --lon 120.1 --lat 30.2 >/dev/null
pushed=${EPOCHREALTIME}
wait_for 5 'grep -aq "v2x/A/ptc .*\"ptcID\":42" "$WORK/all.sub"'
seen=$(grep -am1 'v2x/A/ptc .*"ptcID":42' "$WORK/all.sub" | cut -d' ' -f1)
judge "participant published within two periods" \
    '[ -n "$seen" ] && python3 -c "import sys; sys.exit(not ($seen - $pushed) * 1000 <= 2 * $PERIOD)"' \
    "seen ${seen:-never}, pushed $pushed"

# Configuration: a key on the allow-list is applied, another refused.
mosquitto_pub -p $PORT -q 1 -t v2x/A/in/config -m '{"key":"txpower","type":"i32","value":23}'
mosquitto_pub -p $PORT -q 1 -t v2x/A/in/config -m '{"key":"admin","type":"text","value":"x"}'
judge "allowed key applied" 'wait_for 5 "[ \"\$(unit A config get txpower 2>&1)\" = 23 ]"' "$(unit A config list)"
judge "other key refused on the error topic" \
    'wait_for 5 "grep -aq \"v2x/A/errors .*config key .admin. is not on the allow-list\" \"$WORK/all.sub\""'
judge "refused key not written" '! unit A config get admin >/dev/null 2>&1' "$(unit A config list)"

# 1,000 malformed payloads: every one refused, nothing changed, nobody crashed.
snapshot() {
    unit A --json show map | sed -E 's/"ageSeconds":[0-9.]+//g'
    unit A show signals; unit A show rsi; unit A config list
}
before=$(snapshot)
errors_before=$(grep -ac '^[0-9.]* v2x/A/errors ' "$WORK/all.sub")
mkdir "$WORK/garbage"
python3 - "$DATA/sample-intersection.map" "$WORK/garbage" <<'PY'
import random, sys
random.seed(18)
sample = open(sys.argv[1], "rb").read()
for i in range(750):
    kind = i % 3     # the topic, below
    if kind != 0:    # random bytes for lights and RSI
        payload = random.randbytes(random.randrange(7, 200))
    elif i % 2:      # a map cut short
        payload = sample[: random.randrange(1, len(sample))]
    else:            # a whole map followed by garbage
        payload = sample + random.randbytes(random.randrange(1, 60))
    open("%s/%03d" % (sys.argv[2], i), "wb").write(payload)
PY
topics=(v2x/A/in/map v2x/A/in/signals v2x/all/in/rsi)
for file in "$WORK"/garbage/*; do
    n=$((10#${file##*/}))
    mosquitto_pub -p $PORT -q 1 -t "${topics[n % 3]}" -f "$file"
done
for i in $(seq 250); do
    case $((i % 5)) in
    0) echo '{"key":"txpower","type":"i32","value":"many"}' ;; 1) echo '{"key":"txpower","type":"u8","value":999}' ;;
    2) echo "{\"key\":\"region\",\"type\":\"bogus\",\"value\":$i}" ;; 3) echo '[1,2' ;; 4) echo '{"key":"txpower"}' ;;
    esac
done | mosquitto_pub -p $PORT -q 1 -t v2x/A/in/config -l
judge "malformed payloads refused on the error topic" \
    'wait_for 20 "[ \$(grep -ac \"^[0-9.]* v2x/A/errors \" \"$WORK/all.sub\") -eq $((errors_before + 1000)) ]"' \
    "$(grep -ac 'v2x/A/errors' "$WORK/all.sub") errors"
judge "malformed payloads change nothing" '[ "$(snapshot)" = "$before" ]'
judge "bridges still running" 'kill -0 $BRIDGE_A && kill -0 $BRIDGE_B'

# The broker hung, then killed and restarted: the unit never waits on it,
# and the bridge reconnects and publishes again.
push_time() {  # the slowest of ten inserts on unit A, in milliseconds
    local i start max=0 took
    for i in $(seq 10); do
        start=${EPOCHREALTIME/./}
        unit A ptc push --ptc-id $((100 + i)) --source 1 --source-id w --lon 120 --lat 30 >/dev/null
        took=$(( (${EPOCHREALTIME/./} - start) / 1000 ))
        (( took > max )) && max=$took
        sleep 0.05
    done
    echo $max
}
baseline=$(push_time)
kill -STOP "$BROKER"
hung=$(push_time)
kill -KILL "$BROKER"
kill -CONT "$BROKER"
gone=$(push_time)
judge "inserts do not wait on a hung or gone broker" \
    '(( hung < 3 * baseline + 200 && gone < 3 * baseline + 200 ))' "baseline $baseline ms, hung $hung ms, gone $gone ms"
start_broker
subscribe "$WORK/again.sub" 'v2x/A/#'
judge "bridge reconnects and states its status again" \
    'wait_for 40 "grep -aq \"v2x/A/status .*online\" \"$WORK/again.sub\""' "$(cat "$WORK/bridge-A.out")"
unit A ptc push --ptc-id 200 --source 1 --source-id w --lon 120 --lat 30 >/dev/null
judge "and publishes again" 'wait_for 5 "grep -aq \"v2x/A/ptc .*\\\"ptcID\\\":200\" \"$WORK/again.sub\""'

kill -TERM $BRIDGE_A
judge "bridge leaves with offline status" 'wait $BRIDGE_A && wait_for 5 "grep -aq \"v2x/A/status offline\" \"$WORK/again.sub\""'
finish
