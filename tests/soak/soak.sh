#!/usr/bin/env bash
# Builds the host soak program if needed and runs a long soak in a private
# IPC namespace: every list driven by workers that are killed at random,
# then the report (operations per second per list, kills survived,
# violations). Exit 0 only with no violation.
# Usage: tests/soak/soak.sh [SECONDS (default 600)] [WORKERS (default 8)] [more soak options]
# Environment: V2XSHM_BUILD_DIR (default build/host).
set -euo pipefail

ROOT="$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)"
BUILD="${V2XSHM_BUILD_DIR:-$ROOT/build/host}"
SECONDS_TO_RUN="${1:-600}"
WORKERS="${2:-8}"
shift $(( $# > 2 ? 2 : $# ))

if [ ! -f "$BUILD/build.ninja" ]; then
    if [ "$BUILD" = "$ROOT/build/host" ]; then
        (cd "$ROOT" && cmake --preset host >/dev/null)
    else
        cmake -S "$ROOT" -B "$BUILD" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
    fi
fi
ninja -C "$BUILD" -j2 v2xshm_soak >/dev/null

unshare --ipc --map-root-user "$BUILD/tests/soak/v2xshm_soak" \
    --seconds "$SECONDS_TO_RUN" --workers "$WORKERS" "$@"
