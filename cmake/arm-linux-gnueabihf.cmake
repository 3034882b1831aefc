# Cross build for the 32-bit ARM (hard-float) target with Debian's
# g++-arm-linux-gnueabihf. Test executables run under qemu-user, which shares
# the host kernel's System V IPC.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)

set(V2XSHM_ARM_TRIPLE arm-linux-gnueabihf)
set(CMAKE_C_COMPILER   ${V2XSHM_ARM_TRIPLE}-gcc)
set(CMAKE_CXX_COMPILER ${V2XSHM_ARM_TRIPLE}-g++)

# Debian's cross compiler finds the target's headers and libraries under
# /usr/<triple> by itself (no --sysroot); CMake searches there for packages.
set(CMAKE_FIND_ROOT_PATH /usr/${V2XSHM_ARM_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Everything is built by this one compiler, so GCC 7.1's note on the changed
# passing of some arguments says nothing that matters here.
set(CMAKE_CXX_FLAGS_INIT "-Wno-psabi")

# Libraries the target gets from Debian's multiarch packages (for the MQTT
# bridge, libmosquitto-dev:armhf) lie in /usr/lib/<triple>, outside the
# cross compiler's tree. Only those are looked for there, by name; the folder
# is never searched for headers or other libraries.
set(V2XSHM_MULTIARCH_LIBDIR /usr/lib/${V2XSHM_ARM_TRIPLE})

# The emulator runs the cross compiler's loader (-L). Its C and C++ libraries
# come first on the library path: the multiarch C library is another build,
# and a loader must run with its own. The multiarch folder follows, for
# what only it holds.
set(CMAKE_CROSSCOMPILING_EMULATOR
    qemu-arm;-L;/usr/${V2XSHM_ARM_TRIPLE};-E;LD_LIBRARY_PATH=/usr/${V2XSHM_ARM_TRIPLE}/lib:${V2XSHM_MULTIARCH_LIBDIR})
