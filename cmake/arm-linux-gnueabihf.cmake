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

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm;-L;/usr/${V2XSHM_ARM_TRIPLE})
