#!/bin/bash
# Compares the geometry results of a host build and an ARM build bit for bit.
# Each build's geometry_table prints every plane/geodetic geometry function
# and the fix's motion and prediction over fixed inputs as exact bit patterns;
# the two tables must agree exactly, or within 1 ulp where the two math
# libraries round differently (NaN only matches NaN). Prints the functions
# that differ; exits non-zero beyond 1 ulp.
#
# Usage: scripts/compare-geometry.sh HOST_BUILD_DIR ARM_BUILD_DIR
set -euo pipefail

if [[ $# -ne 2 ]]; then
    echo "usage: $0 HOST_BUILD_DIR ARM_BUILD_DIR" >&2
    exit 2
fi
HOST_TABLE=$1/tests/space/geometry_table
ARM_TABLE=$2/tests/space/geometry_table
SYSROOT=${V2XSHM_ARM_SYSROOT:-/usr/arm-linux-gnueabihf}

for exe in "$HOST_TABLE" "$ARM_TABLE"; do
    if [[ ! -x $exe ]]; then
        echo "compare-geometry: $exe not built (ninja -C ${exe%/tests/space/geometry_table} geometry_table)" >&2
        exit 2
    fi
done

WORK=$(mktemp -d)
trap 'rm -rf "$WORK"' EXIT

"$HOST_TABLE" >"$WORK/host.txt"
qemu-arm -L "$SYSROOT" -E LD_LIBRARY_PATH="$SYSROOT/lib" "$ARM_TABLE" >"$WORK/arm.txt"

echo "geometry results, host ($(wc -l <"$WORK/host.txt") cases) against ARM ($(wc -l <"$WORK/arm.txt") cases):"
"$HOST_TABLE" --compare "$WORK/host.txt" "$WORK/arm.txt"
