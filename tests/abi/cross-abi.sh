#!/usr/bin/env bash
# Checks shared list images between ABIs: cross-abi.sh BIN [BIN2]
# BIN and BIN2 are v2xshm_abi_image executables of either ABI (ARM ones run
# under qemu-arm, which shares the host kernel's IPC). With two of them every
# ordered pair writes and reads: 2->1, 1->2, 1->1, 2->2. Everything runs in
# one private IPC namespace; after each pair no segment or semaphore may be
# left in it. Exit status 0 when every pair matched.
set -euo pipefail

if [[ "${V2XSHM_ABI_ISOLATED:-}" != 1 ]]; then
    export V2XSHM_ABI_ISOLATED=1
    exec unshare --ipc --map-root-user bash "$0" "$@"
fi

[[ $# -ge 1 && $# -le 2 ]] || { echo "usage: cross-abi.sh BIN [BIN2]" >&2; exit 2; }
ARM_SYSROOT=/usr/arm-linux-gnueabihf
WAIT_READY_S=60
IMAGES=$(cd "$(dirname "$0")" && pwd)/images  # the committed list images

# e_machine at offset 18 of the ELF header: 40 is 32-bit ARM.
abi_of() { if [[ "$(od -An -tu2 -j18 -N2 "$1" | tr -d ' ')" == 40 ]]; then echo arm; else echo host; fi; }

# Sets CMD to the command line that runs binary $1.
# The cross C library comes first on the path: with Debian's armhf C library
# also installed (multiarch), the loader would otherwise pick that one.
command_for() {
    if [[ $(abi_of "$1") == arm ]]; then
        CMD=(qemu-arm -L "$ARM_SYSROOT" -E LD_LIBRARY_PATH="$ARM_SYSROOT/lib" "$1")
    else
        CMD=("$1")
    fi
}

ipc_objects() { ipcs -m -s | grep -c '^0x' || true; }

# A fresh namespace hands out segment identifier 0 first, and the lists
# deliberately never remove a segment whose identifier is 0. A placeholder
# takes that identifier so that the lists' segments are removed as usual.
ipcmk -M 1 >/dev/null
baseline=$(ipc_objects)

tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

# check_pair WRITER READER: 0 when the reader found the writer's image.
check_pair() {
    local writer=$1 reader=$2 label
    label="$(abi_of "$writer") writer -> $(abi_of "$reader") reader"
    command_for "$writer"
    "${CMD[@]}" write >"$tmp/writer.out" 2>&1 &
    local pid=$! waited=0
    until grep -q '^ready' "$tmp/writer.out"; do
        if ! kill -0 "$pid" 2>/dev/null || ((waited++ >= WAIT_READY_S * 10)); then
            echo "FAIL $label: the writer did not get ready" && cat "$tmp/writer.out"
            kill -TERM "$pid" 2>/dev/null || true
            wait "$pid" || true
            return 1
        fi
        sleep 0.1
    done

    local rc=0 wrc=0
    command_for "$reader"
    "${CMD[@]}" read "$IMAGES" >"$tmp/reader.out" 2>&1 || rc=$?
    kill -TERM "$pid"
    wait "$pid" || wrc=$?
    sed 's/^/    /' "$tmp/reader.out"
    if ((rc != 0 || wrc != 0)); then
        echo "FAIL $label: reader exit $rc, writer exit $wrc" && return 1
    elif (($(ipc_objects) != baseline)); then
        echo "FAIL $label: IPC objects left behind" && ipcs -m -s && return 1
    fi
    echo "ok   $label"
}

bins=("$@")
pairs=("0 0")
if ((${#bins[@]} == 2)); then pairs=("1 0" "0 1" "0 0" "1 1"); fi
failed=0
for p in "${pairs[@]}"; do
    read -r w r <<<"$p"
    check_pair "${bins[$w]}" "${bins[$r]}" || failed=$((failed + 1))
done
echo "cross-ABI image check: $((${#pairs[@]} - failed)) of ${#pairs[@]} pairs matched"
((failed == 0))
