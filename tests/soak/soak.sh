#!/usr/bin/env bash
# Builds the host soak program if needed and runs a long soak in a private
# IPC namespace: every list driven by workers that are killed at random,
# then the report (operations per second per list, kills survived,
# violations). Exit 0 only with no violation.
# Usage: tests/soak/soak.sh [SECONDS (default 600)] [WORKERS (default 8)] [more soak options]
# Environment: V2XSHM_BUILD_DIR (default build/host, configured when absent;
# another directory must be configured already).
set -euo pipefail

ROOT="$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)"
BUILD="${V2XSHM_BUILD_DIR:-$ROOT/build/host}"
SECONDS_TO_RUN="${1:-600}"
WORKERS="${2:-8}"
shift $(( $# > 2 ? 2 : $# ))

[ "$BUILD" != "$ROOT/build/host" ] || [ -f "$BUILD/build.ninja" ] || (cd "$ROOT" && cmake --preset host >/dev/null)
ninja -C "$BUILD" -j2 v2xshm_soak >/dev/null

unshare --ipc --map-root-user "$BUILD/tests/soak/v2xshm_soak" \
    --seconds "$SECONDS_TO_RUN" --workers "$WORKERS" "$@"
