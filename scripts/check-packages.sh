#!/usr/bin/env bash
# Builds the Debian packages of one build directory with CPack, checks their
# names, architecture, dependencies and contents, and extracts them into a
# scratch root (as dpkg would install them, without touching the system).
#
#   scripts/check-packages.sh BUILD_DIR ARCH ROOT
#
# ARCH is amd64 or armhf. Prints one "ok"/"FAIL" line per check and, last,
# "packages: N passed, N failed"; exits non-zero when a check failed.
set -uo pipefail

build=$(cd "$1" && pwd) arch=$2 root=$3
passed=0 failed=0
ok() { echo "ok   $1"; passed=$((passed + 1)); }
bad() { echo "FAIL $1"; failed=$((failed + 1)); }
check() { local name=$1; shift; if "$@"; then ok "$name"; else bad "$name"; fi; }

case $arch in
    amd64) machine="X86-64" ;;
    armhf) machine="ARM" ;;
    *) echo "unknown architecture $arch"; exit 2 ;;
esac

out=$build/packages
rm -rf "$out" "$root"
mkdir -p "$root"
if ! (cd "$build" && cpack -G DEB --config CPackConfig.cmake >"$build/cpack.log" 2>&1); then
    tail -n 30 "$build/cpack.log"
    bad "cpack ($arch)"
    echo "packages: $passed passed, $failed failed"
    exit 1
fi

# The first match only, without `| head`: under pipefail a writer cut off by
# head fails the pipeline (SIGPIPE), now and then.
version=$(sed -n 's/^CPACK_PACKAGE_VERSION:STRING=//p;s/^set(CPACK_PACKAGE_VERSION "\(.*\)")$/\1/p' \
    "$build/CPackConfig.cmake")
version=${version%%$'\n'*}
deb() { echo "$out/$1_${version}-1_${arch}.deb"; }
field() { dpkg-deb -f "$(deb "$1")" "$2"; }
# grep reads to the end (no -q), for the same reason.
has() { dpkg-deb -c "$(deb "$1")" | awk '{print $6}' | grep -x "./$2" >/dev/null; }
bridge_deps() { system_deps v2xshm && [[ $(field v2xshm Depends) =~ libmosquitto1\ \(\>=\ 2\.0\) ]]; }
system_deps() { [[ $(field "$1" Depends) =~ libc6\ \(\>=\ 2\.34\) && $(field "$1" Depends) =~ libstdc\+\+6 ]]; }

for pkg in libv2xshm0 libv2xshm-dev v2xshm; do
    check "$pkg ($arch): built" test -f "$(deb "$pkg")" || continue
    check "$pkg ($arch): architecture" test "$(field "$pkg" Architecture)" = "$arch"
    dpkg-deb -x "$(deb "$pkg")" "$root"
done

# The runtime libraries (the core and the unit layer): the versioned files
# and their SONAME links, nothing else.
check "libv2xshm0: only the two libraries" \
    test "$(dpkg-deb -c "$(deb libv2xshm0)" | awk '$1 !~ /^d/' | wc -l)" = 4
for lib in libv2xshm libv2xshm-unit; do
    check "libv2xshm0: $lib.so.0 link and library" has libv2xshm0 "usr/lib/$lib.so.0"
    check "libv2xshm0: SONAME $lib.so.0" \
        bash -c "readelf -d '$root/usr/lib/$lib.so.$version' | grep -q 'SONAME.*\[$lib\.so\.0\]'"
    check "libv2xshm0: $lib built for $machine" \
        bash -c "readelf -h '$root/usr/lib/$lib.so.$version' | grep -q 'Machine:.*$machine'"
    check "libv2xshm0: shlibs file names $lib" \
        bash -c "dpkg-deb -I '$(deb libv2xshm0)' shlibs | grep -q '^$lib 0 libv2xshm0'"
done
check "libv2xshm0: the unit layer needs the core" \
    bash -c "readelf -d '$root/usr/lib/libv2xshm-unit.so.$version' | grep -q 'NEEDED.*\[libv2xshm\.so\.0\]'"
check "libv2xshm0: depends on the C and C++ runtimes" system_deps libv2xshm0

# The development files, tied to the same version of the runtime.
for f in usr/include/v2xshm/v2xshm.h usr/include/v2xshm/shm/IFSHM.h usr/lib/libv2xshm.so usr/lib/libv2xshm.a \
         usr/lib/cmake/v2xshm/v2xshmConfig.cmake usr/lib/pkgconfig/v2xshm.pc \
         usr/include/v2xshm-unit/ListCheck.h usr/include/v2xshm-unit/ListOwner.h \
         usr/include/v2xshm-unit/LMMessageWriter.h usr/lib/libv2xshm-unit.so usr/lib/libv2xshm-unit.a \
         usr/lib/pkgconfig/v2xshm-unit.pc; do
    check "libv2xshm-dev: $f" has libv2xshm-dev "$f"
done
check "libv2xshm-dev: depends on libv2xshm0 (= $version-1)" \
    test "$(field libv2xshm-dev Depends)" = "libv2xshm0 (= $version-1)"

# The tool, linked with the static archive, and its manual page.
check "v2xshm: tool and manual page" bash -c "$(declare -f has deb); out='$out' version='$version' arch='$arch'; \
    has v2xshm usr/bin/v2xshm && has v2xshm usr/share/man/man1/v2xshm.1.gz"
check "v2xshm: tool built for $machine" bash -c "readelf -h '$root/usr/bin/v2xshm' | grep -q 'Machine:.*$machine'"
check "v2xshm: does not need libv2xshm0" \
    bash -c "! readelf -d '$root/usr/bin/v2xshm' | grep -q 'NEEDED.*libv2xshm'"
check "v2xshm: depends on the C and C++ runtimes and libmosquitto1" bridge_deps
check "v2xshm: the bridge needs libmosquitto.so.1" \
    bash -c "readelf -d '$root/usr/bin/v2xshm' | grep -q 'NEEDED.*\[libmosquitto\.so\.1\]'"
check "v2xshm: manual page v2xshm(1) renders cleanly" \
    bash -c "zcat '$root/usr/share/man/man1/v2xshm.1.gz' | sed -n 1,5p | grep -q '^\.TH V2XSHM 1' &&
             test -z \"\$(MANWIDTH=80 man -l '$root/usr/share/man/man1/v2xshm.1.gz' 2>&1 >/dev/null)\""

echo "packages: $passed passed, $failed failed"
((failed == 0))
