# Debian packages through CPack, one per component, for the ABI of the build
# (amd64 on the host, armhf in the ARM cross build):
#   libv2xshm0      the shared libraries (core and unit layer) with their SONAMEs
#   libv2xshm-dev   headers, static archives, CMake package, pkg-config files
#   v2xshm          the v2xshm tool (linked with the static archive, and with
#                   libmosquitto for its MQTT bridge) and v2xshm(1)
# Made with `cpack -G DEB` in a build directory; scripts/test.sh checks them.

if(CMAKE_SYSTEM_PROCESSOR MATCHES "^arm")
    set(V2XSHM_DEB_ARCH armhf)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
    set(V2XSHM_DEB_ARCH amd64)
else()
    set(V2XSHM_DEB_ARCH ${CMAKE_SYSTEM_PROCESSOR})
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME v2xshm)
set(CPACK_PACKAGE_VENDOR "v2xshm developers")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Shared-memory state of the processes of a V2X unit")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime dev)
if(V2XSHM_BUILD_TOOLS)
    list(APPEND CPACK_COMPONENTS_ALL tool)
endif()

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${V2XSHM_DEB_ARCH})
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "v2xshm developers <v2xshm@localhost>")
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
# Named by hand rather than by dpkg-shlibdeps, which cannot resolve the
# target's libraries in a cross build; both ABIs get the same list. The
# library uses glibc's pthreads in libc (2.34 on) and the C++17 runtime of GCC 12.
set(V2XSHM_DEB_SYSTEM_DEPENDS "libc6 (>= 2.34), libgcc-s1 (>= 3.5), libstdc++6 (>= 12)")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libv2xshm${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "${V2XSHM_DEB_SYSTEM_DEPENDS}")
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
    "V2X unit shared-memory library\n The managers that keep a V2X unit's shared state (configuration, GNSS fix,\n local map, signals, participants, traffic records) in System V shared\n memory, with big-endian codecs, transport and geometry; beside it\n the unit layer (libv2xshm-unit): what the processes compute from the lists.")
# A shlibs file and the ldconfig trigger, as a Debian library package has.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libv2xshm-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
    "libv2xshm${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(CPACK_DEBIAN_DEV_DESCRIPTION
    "V2X unit shared-memory library: development files\n Headers, the static archive, the CMake package (find_package(v2xshm)) and\n the pkg-config file of the v2xshm library.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME v2xshm)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
# The bridge is built against Debian 12's libmosquitto 2.0 of the same ABI.
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${V2XSHM_DEB_SYSTEM_DEPENDS}, libmosquitto1 (>= 2.0)")
set(CPACK_DEBIAN_TOOL_DESCRIPTION
    "look into and drive the shared state of a V2X unit\n The v2xshm tool shows what is in a running unit's shared-memory lists,\n checks their consistency and drives them by hand; its bridge carries the\n lists to an MQTT broker and maps, signals and configuration back.")

include(CPack)
