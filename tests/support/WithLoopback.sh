#!/bin/sh
# Runs a command inside a fresh network namespace (made by the caller with
# unshare --net) after bringing its loopback interface up, so that tests can
# use fixed local ports without meeting anything else on the machine.
#   WithLoopback.sh IP_PROGRAM COMMAND...
ip_program=$1
shift
"$ip_program" link set lo up || exit 1
exec "$@"
