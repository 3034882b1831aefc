#!/usr/bin/env bash
# Builds and tests everything: the host, ARM (under qemu-arm), sanitizer
# (ASan+UBSan) and ThreadSanitizer builds with their unit tests, the shared
# list images across the two ABIs, the Debian packages of both ABIs with an
# outside project built against them, the geometry of the two ABIs side by
# side, the demo, and a bounded fuzz run of every decoder of received data.
#
#   scripts/test.sh
#
# Environment:
#   CI=true            a missing ARM toolchain or emulator is a failure, not a skip
#   V2XSHM_BUILD_ROOT  where the build directories go (default: <repo>/build)
#   V2XSHM_JOBS        parallel build jobs (default: 2)
#
# Run as root on a fresh Debian machine, it first installs the packages it
# needs. The last line is "N passed, N failed"; the exit status is non-zero
# when anything failed.
set -uo pipefail

ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$ROOT"
BUILD_ROOT=${V2XSHM_BUILD_ROOT:-$ROOT/build}
JOBS=${V2XSHM_JOBS:-2}
IN_CI=false
[[ "${CI:-}" == true || "${CI:-}" == 1 ]] && IN_CI=true
LOGS=$BUILD_ROOT/logs
mkdir -p "$LOGS"

TOTAL_PASSED=0
TOTAL_FAILED=0
SUMMARY=()

step() { printf '\n==== %s\n' "$*"; }

# record NAME PASSED FAILED: adds to the totals and to the summary.
record() {
    TOTAL_PASSED=$((TOTAL_PASSED + $2))
    TOTAL_FAILED=$((TOTAL_FAILED + $3))
    SUMMARY+=("$(printf '%-22s %5d passed, %d failed' "$1" "$2" "$3")")
}

skip() {
    SUMMARY+=("$(printf '%-22s skipped: %s' "$1" "$2")")
}

# run_logged LOG CMD...: runs quietly into LOG; on failure shows its end.
run_logged() {
    local log=$1
    shift
    if "$@" >"$log" 2>&1; then
        return 0
    fi
    echo "FAILED: $*"
    tail -n 80 "$log"
    echo "(full log: $log)"
    return 1
}

# ---- packages ----------------------------------------------------------------

have_cmd() { command -v "$1" >/dev/null 2>&1; }
have_fuzzer_runtime() {
    have_cmd clang++ && compgen -G "$(clang++ -print-runtime-dir 2>/dev/null)/libclang_rt.fuzzer*" >/dev/null
}

# package:probe (package may name its architecture, pkg:armhf); the probe is a
# command, an absolute path, or a check function.
BASE_PACKAGES=(
    cmake:cmake ninja-build:ninja g++:g++ pkg-config:pkg-config
    util-linux:unshare util-linux:ipcs util-linux:ipcmk python3:python3
    libgtest-dev:/usr/include/gtest/gtest.h libgmock-dev:/usr/include/gmock/gmock.h
    googletest:/usr/src/googletest/CMakeLists.txt
    libbenchmark-dev:/usr/include/benchmark/benchmark.h
    libcli11-dev:/usr/include/CLI/CLI.hpp nlohmann-json3-dev:/usr/include/nlohmann/json.hpp
    clang:clang++ libclang-rt-dev:have_fuzzer_runtime
    libcpp-httplib-dev:/usr/include/httplib.h chromium:chromium chromium-driver:chromedriver
    libmosquitto-dev:/usr/include/mosquitto.h mosquitto:mosquitto mosquitto-clients:mosquitto_sub
)
ARM_PACKAGES=(g++-arm-linux-gnueabihf:arm-linux-gnueabihf-g++ qemu-user:qemu-arm)

probe() {
    case $1 in
        /*) [[ -e $1 ]] ;;
        have_*) "$1" ;;
        *) have_cmd "$1" ;;
    esac
}

# Prints the packages whose probe fails, once each.
missing_of() {
    local entry out=()
    for entry in "$@"; do
        probe "${entry##*:}" || out+=("${entry%:*}")
    done
    ((${#out[@]})) && printf '%s\n' "${out[@]}" | sort -u
}

step "Packages"
mapfile -t missing < <(missing_of "${BASE_PACKAGES[@]}" "${ARM_PACKAGES[@]}")
if ((${#missing[@]})); then
    if [[ $(id -u) == 0 ]] && have_cmd apt-get; then
        echo "installing: ${missing[*]}"
        export DEBIAN_FRONTEND=noninteractive
        run_logged "$LOGS/apt.log" apt-get update &&
            run_logged "$LOGS/apt.log" apt-get install -y --no-install-recommends "${missing[@]}" ||
            echo "could not install all packages"
    else
        echo "missing packages (install them as root): ${missing[*]}"
    fi
fi
mapfile -t still_missing < <(missing_of "${BASE_PACKAGES[@]}")
if ((${#still_missing[@]})); then
    echo "cannot test without: ${still_missing[*]}"
    record "packages" 0 1
    printf '%s\n' "${SUMMARY[@]}"
    echo "$TOTAL_PASSED passed, $TOTAL_FAILED failed"
    exit 1
fi

# The bridge's MQTT library for the ARM build comes from Debian's armhf
# archive through multiarch. Multi-Arch: same libraries must have the same
# version on both architectures, and a mirror part-way through a sync may
# briefly offer a newer one for one architecture only: libssl3 (and the
# host's packages tied to its exact version) is pinned to the newest version
# offered for both.
ARM_MOSQUITTO=/usr/lib/arm-linux-gnueabihf/libmosquitto.so
have_arm_mosquitto() { [[ -e $ARM_MOSQUITTO ]]; }
ARM_PACKAGES+=(libmosquitto-dev:armhf:have_arm_mosquitto)
# versions_of PKG:ARCH: the versions apt offers, one a line.
versions_of() { apt-cache madison "$1" 2>/dev/null | awk -F'|' '{ gsub(/ /, "", $2); print $2 }' | sort -u; }
common_version() {
    local best="" v
    while read -r v; do
        [[ -z $best ]] || dpkg --compare-versions "$v" gt "$best" && best=$v
    done < <(comm -12 <(versions_of "$1:$(dpkg --print-architecture)") <(versions_of "$1:armhf"))
    echo "$best"
}
install_arm_mosquitto() {
    dpkg --print-foreign-architectures | grep -qx armhf || dpkg --add-architecture armhf
    run_logged "$LOGS/apt-armhf.log" apt-get update || return 1
    local ssl pins=() pkg
    ssl=$(common_version libssl3)
    if [[ -z $ssl ]]; then
        echo "libmosquitto-dev:armhf cannot be installed now: no libssl3 version is offered for both" \
            "$(dpkg --print-architecture) and armhf (a mirror part-way through a sync?); try again later"
        return 1
    fi
    pins=("libssl3=$ssl" "libssl3:armhf=$ssl")
    for pkg in libssl-dev openssl; do
        dpkg -s "$pkg" >/dev/null 2>&1 && pins+=("$pkg=$ssl")
    done
    echo "installing libmosquitto-dev:armhf with libssl3 $ssl on both architectures"
    run_logged "$LOGS/apt-armhf.log" apt-get install -y --no-install-recommends --allow-downgrades \
        libmosquitto-dev:armhf "${pins[@]}" ||
        { echo "libmosquitto-dev:armhf and libssl3 $ssl could not be installed on both architectures"; return 1; }
}
if ! have_arm_mosquitto && [[ $(id -u) == 0 ]] && have_cmd apt-get && have_cmd arm-linux-gnueabihf-g++; then
    install_arm_mosquitto
fi
HAVE_ARM=true
mapfile -t arm_missing < <(missing_of "${ARM_PACKAGES[@]}")
if ((${#arm_missing[@]})); then
    HAVE_ARM=false
    if $IN_CI; then
        echo "the ARM cross build needs: ${arm_missing[*]}"
        record "arm toolchain" 0 1
    else
        echo "no ARM cross build (missing: ${arm_missing[*]}): ARM steps are skipped"
    fi
fi
echo "ok"

# ---- IPC objects of this namespace -------------------------------------------

# Every test runs in a private IPC namespace: none may leave a segment or a
# semaphore set in the namespace this script runs in.
ipc_ids() { ipcs -m -s 2>/dev/null | awk '/^0x/ { print $1, $2 }' | sort; }
IPC_BEFORE=$(ipc_ids)
check_ipc_clean() {
    local left
    left=$(comm -13 <(echo "$IPC_BEFORE") <(ipc_ids))
    if [[ -n $left ]]; then
        echo "IPC objects left in the host namespace after $1:"
        echo "$left"
        record "ipc after $1" 0 1
        IPC_BEFORE=$(ipc_ids)
    fi
}

# ---- builds and unit tests ------------------------------------------------------

# Sums the test cases of one ctest run: every GoogleTest case counts; a test
# executable that failed without a failing case (a crash, a sanitizer report
# at exit, a timeout) and every other ctest test count once.
count_results() {
    python3 - "$1" "$2" <<'EOF'
import glob, os, sys
import xml.etree.ElementTree as ET
junit, gtest_dir = sys.argv[1], sys.argv[2]
passed = failed = 0
try:
    cases = ET.parse(junit).getroot().iter("testcase")
except (OSError, ET.ParseError):
    cases = []
for case in cases:
    name = case.get("name")
    ok = case.get("status") == "run" and case.find("failure") is None and case.find("error") is None
    if case.get("status") in ("disabled", "notrun") or case.find("skipped") is not None:
        ok = False
    xml = os.path.join(gtest_dir, name + ".xml")
    case_failures = 0
    if os.path.exists(xml):
        try:
            for tc in ET.parse(xml).getroot().iter("testcase"):
                if tc.get("status") != "run" or tc.get("result") == "skipped":
                    continue
                if tc.find("failure") is not None:
                    case_failures += 1
                else:
                    passed += 1
        except ET.ParseError:
            pass
        failed += case_failures
        if not ok and case_failures == 0:
            failed += 1
    elif ok:
        passed += 1
    else:
        failed += 1
print(passed, failed)
EOF
}

# build_and_test PRESET [cmake options...]
build_and_test() {
    local preset=$1
    shift
    local dir=$BUILD_ROOT/$preset
    step "Build and test: $preset ($dir)"
    if ! run_logged "$LOGS/$preset-configure.log" cmake --preset "$preset" -B "$dir" "$@"; then
        record "$preset configure" 0 1
        return 1
    fi
    # Keeps going past a failed target, so that the tests that did build
    # still run; those that did not count as failed.
    if ! run_logged "$LOGS/$preset-build.log" cmake --build "$dir" -j "$JOBS" -- -k 0; then
        record "$preset build" 0 1
    fi
    local xml=$dir/gtest-xml
    rm -rf "$xml" && mkdir -p "$xml"
    local env=(GTEST_OUTPUT="xml:$xml/")
    local filter=()
    if [[ $preset == sanitize ]]; then
        env+=(ASAN_OPTIONS="detect_leaks=1:abort_on_error=1:strict_string_checks=1"
              UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1")
    elif [[ $preset == tsan ]]; then
        # Only the tests whose code runs threads of its own.
        env+=(TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1")
        filter=(-L threads)
    fi
    env "${env[@]}" ctest --test-dir "$dir" "${filter[@]}" -j "$JOBS" --output-on-failure \
        --no-tests=error --output-junit "$dir/ctest-junit.xml" 2>&1 | tee "$LOGS/$preset-ctest.log"
    local counts
    counts=$(count_results "$dir/ctest-junit.xml" "$xml")
    if [[ -z $counts || $counts == "0 0" ]]; then
        counts="0 1"  # no result at all is a failure
    fi
    # shellcheck disable=SC2086
    record "$preset tests" ${counts}
    echo "$preset: ${counts% *} passed, ${counts#* } failed"
    check_ipc_clean "the $preset tests"
    return 0
}

# A build counts as usable by the later steps when its library and list
# image checker were built.
usable() {
    [[ -x $BUILD_ROOT/$1/tests/abi/v2xshm_abi_image && -e $BUILD_ROOT/$1/src/libv2xshm.a ]]
}

build_and_test host
usable host
HOST_OK=$?
ARM_OK=1
if $HAVE_ARM; then
    build_and_test arm
    usable arm
    ARM_OK=$?
else
    skip "arm tests" "no ARM toolchain"
fi
build_and_test sanitize
build_and_test tsan

# ---- the demo -------------------------------------------------------------------

# The README's first command, run once with the host tool already built and
# judged on what it shows rather than on its wording.
demo_judge() {
    if eval "$2"; then
        echo "ok   demo: $1"
        demo_ok=$((demo_ok + 1))
    else
        echo "FAIL demo: $1"
        demo_bad=$((demo_bad + 1))
    fi
}

step "The demo, with the host tool"
if [[ $HOST_OK == 0 ]]; then
    demo_log=$LOGS/demo.log
    V2XSHM_BUILD_DIR=$BUILD_ROOT/host bash scripts/demo.sh >"$demo_log" 2>&1
    demo_rc=$?
    demo_ok=0 demo_bad=0
    demo_judge "exits 0" '((demo_rc == 0))'
    # Up to the stop line every step places the car on the approach, nearer.
    demo_judge "the car placed, nearer the stop line at each step" \
        "awk '/^ *[0-9.]+s +-?[0-9.]+m  node [0-9]+, link from [0-9]+: [0-9.]+ m to the stop line/ && !/past the stop line/ {
                d = \$0; sub(/ m to the stop line.*/, \"\", d); sub(/.*: /, \"\", d)
                if (n++ && d + 0 >= prev) bad = 1; prev = d + 0 }
              END { exit !(n >= 20 && !bad) }' '$demo_log'"
    demo_judge "a light state with a count-down" \
        "grep -Eq '^ +light: (red|green|yellow), changes in [0-9]+\.[0-9] s' '$demo_log'"
    demo_judge "the other vehicle as a target" "grep -Eq '^ +target: obu-b [0-9.]+ m, ' '$demo_log'"
    demo_judge "a picture of the map with the car and the other vehicle" \
        "grep -q '^wrote the map picture to $BUILD_ROOT/host/demo-map.svg' '$demo_log' &&
         python3 -c 'import sys, xml.dom.minidom as m; m.parse(sys.argv[1])' '$BUILD_ROOT/host/demo-map.svg' &&
         grep -q 'id=\"vehicle\"' '$BUILD_ROOT/host/demo-map.svg' &&
         grep -q 'class=\"participant\" data-list=\"obu\" data-id=\"obu-b\"' '$BUILD_ROOT/host/demo-map.svg'"
    demo_judge "nothing left in ipcs" \
        "sed -n '/^### Nothing is left behind/,\$p' '$demo_log' >'$LOGS/demo-end.log' &&
         grep -q '^------ Shared Memory Segments' '$LOGS/demo-end.log' && ! grep -q '^0x' '$LOGS/demo-end.log'"
    ((demo_bad == 0)) || { tail -n 40 "$demo_log"; echo "(full log: $demo_log)"; }
    record "demo" "$demo_ok" "$demo_bad"
    check_ipc_clean "the demo"
else
    echo "needs the host build"
    record "demo" 0 1
fi

# ---- shared list images across the ABIs ------------------------------------------

step "Shared list images: ARM and host processes"
if [[ $HOST_OK == 0 && $ARM_OK == 0 ]]; then
    bash tests/abi/cross-abi.sh "$BUILD_ROOT/host/tests/abi/v2xshm_abi_image" \
        "$BUILD_ROOT/arm/tests/abi/v2xshm_abi_image" | tee "$LOGS/cross-abi.log"
    pairs=$(sed -n 's/^cross-ABI image check: \([0-9]*\) of \([0-9]*\) .*/\1 \2/p' "$LOGS/cross-abi.log")
    if [[ -n $pairs ]]; then
        read -r ok all <<<"$pairs"
        record "cross-ABI images" "$ok" $((all - ok))
    else
        record "cross-ABI images" 0 1
    fi
    check_ipc_clean "the cross-ABI check"
elif $HAVE_ARM || $IN_CI; then
    record "cross-ABI images" 0 1
    echo "needs both builds"
else
    skip "cross-ABI images" "no ARM toolchain"
fi

# ---- the Debian packages, used from outside ------------------------------------

# consumer_check LABEL PREFIX RUNNER... -- CMAKE_OPTIONS...
consumer_check() {
    local label=$1 prefix=$2
    shift 2
    local runner=()
    while [[ $1 != -- ]]; do runner+=("$1"); shift; done
    shift
    local out=$BUILD_ROOT/consumer/$label
    rm -rf "$out"
    if run_logged "$LOGS/consumer-$label.log" env PKG_CONFIG_PATH="$prefix/lib/pkgconfig" \
            cmake -S tests/consumer -B "$out" -G Ninja "$@" &&
        run_logged "$LOGS/consumer-$label.log" cmake --build "$out" &&
        LD_LIBRARY_PATH=$prefix/lib unshare --ipc --map-root-user "${runner[@]}" "$out/consumer"; then
        echo "ok   consumer ($label)"
        return 0
    fi
    echo "FAIL consumer ($label)"
    return 1
}

# packages_of PRESET ARCH: builds and checks that build's Debian packages,
# extracting them into a scratch root; shows the failed checks and the
# tally, and records them.
PKG_ROOT=$BUILD_ROOT/pkgroot
packages_of() {
    local preset=$1 arch=$2
    bash scripts/check-packages.sh "$BUILD_ROOT/$preset" "$arch" "$PKG_ROOT/$arch" >"$LOGS/packages-$arch.log" 2>&1
    grep -E '^(FAIL|packages:)' "$LOGS/packages-$arch.log"
    local counts
    counts=$(sed -n 's/^packages: \([0-9]*\) passed, \([0-9]*\) failed$/\1 \2/p' "$LOGS/packages-$arch.log")
    # shellcheck disable=SC2086
    record "packages $arch" ${counts:-0 1}
    [[ -n $counts && ${counts#* } == 0 ]]
}

step "Debian packages, and an outside project built against them"
if [[ $HOST_OK == 0 ]] && packages_of host amd64; then
    prefix=$PKG_ROOT/amd64/usr
    ok=0 bad=0
    for mode in shared static pkgconfig; do
        case $mode in
            shared) opts=(-DCMAKE_PREFIX_PATH="$prefix") ;;
            static) opts=(-DCMAKE_PREFIX_PATH="$prefix" -DCONSUMER_STATIC=ON) ;;
            pkgconfig) opts=(-DCONSUMER_USE_PKGCONFIG=ON) ;;
        esac
        if consumer_check "host-$mode" "$prefix" -- "${opts[@]}"; then
            ok=$((ok + 1))
        else
            bad=$((bad + 1))
        fi
    done
    # The packaged tool runs from the scratch root and, reading, creates nothing.
    if "$prefix/bin/v2xshm" --help >/dev/null &&
        unshare --ipc --map-root-user bash -c "'$prefix/bin/v2xshm' status >/dev/null; test -z \"\$(ipcs -m -s | grep '^0x')\""; then
        echo "ok   packaged tool"
        ok=$((ok + 1))
    else
        echo "FAIL packaged tool"
        bad=$((bad + 1))
    fi
    if [[ $ARM_OK == 0 ]] && $HAVE_ARM && packages_of arm armhf; then
        # The cross C library after the packaged one: with Debian's armhf C
        # library also installed (multiarch) the loader would pick that one.
        if consumer_check arm-shared "$PKG_ROOT/armhf/usr" qemu-arm -L /usr/arm-linux-gnueabihf \
                -E LD_LIBRARY_PATH="$PKG_ROOT/armhf/usr/lib:/usr/arm-linux-gnueabihf/lib" -- \
                -DCMAKE_TOOLCHAIN_FILE="$ROOT/cmake/arm-linux-gnueabihf.cmake" \
                -Dv2xshm_DIR="$PKG_ROOT/armhf/usr/lib/cmake/v2xshm"; then
            ok=$((ok + 1))
        else
            bad=$((bad + 1))
        fi
    elif $HAVE_ARM || $IN_CI; then
        bad=$((bad + 1))
    fi
    record "packaged consumer" "$ok" "$bad"
    check_ipc_clean "the consumer runs"
else
    echo "needs a packageable host build"
    record "packaged consumer" 0 1
fi

# ---- geometry of the two ABIs ----------------------------------------------------

step "Geometry results: host and ARM"
if [[ ! -f scripts/compare-geometry.sh ]]; then
    skip "geometry host/arm" "no scripts/compare-geometry.sh"
elif [[ $HOST_OK == 0 && $ARM_OK == 0 ]]; then
    if bash scripts/compare-geometry.sh "$BUILD_ROOT/host" "$BUILD_ROOT/arm"; then
        record "geometry host/arm" 1 0
    else
        record "geometry host/arm" 0 1
    fi
    check_ipc_clean "the geometry comparison"
elif $HAVE_ARM || $IN_CI; then
    record "geometry host/arm" 0 1
else
    skip "geometry host/arm" "no ARM toolchain"
fi

# ---- fuzzing -------------------------------------------------------------------

step "Fuzzing the decoders of received data"
if [[ -f scripts/fuzz.sh ]]; then
    if run_logged "$LOGS/fuzz.log" env FUZZ_BUILD_DIR="$BUILD_ROOT/fuzz" bash scripts/fuzz.sh; then
        tail -n 1 "$LOGS/fuzz.log"
        record "fuzz" 1 0
    else
        record "fuzz" 0 1
    fi
    check_ipc_clean "the fuzz run"
else
    skip "fuzz" "no scripts/fuzz.sh"
fi

# ---- summary -------------------------------------------------------------------

step "Summary"
printf '%s\n' "${SUMMARY[@]}"
echo "$TOTAL_PASSED passed, $TOTAL_FAILED failed"
((TOTAL_FAILED == 0))
