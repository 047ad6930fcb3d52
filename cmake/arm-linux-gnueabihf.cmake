# 32-bit ARM, compiled on another machine: Debian's cross compiler, the target's libraries in a folder of
# their own (cmake/fetch_sysroot fills it), and an emulator that runs what is built.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
# These notes tell of a calling convention that changed with GCC 7; all our C++ is of one compiler.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)

set(OSIF_SYSROOT "${CMAKE_BINARY_DIR}/sysroot" CACHE PATH "The target's libraries")
# The compiler's checks read this file again, in build folders of their own.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES OSIF_SYSROOT)
set(CMAKE_SYSROOT "${OSIF_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH "${OSIF_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

set(ENV{PKG_CONFIG_SYSROOT_DIR} "${OSIF_SYSROOT}")
set(ENV{PKG_CONFIG_LIBDIR}
  "${OSIF_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${OSIF_SYSROOT}/usr/share/pkgconfig")

find_program(QEMU_ARM qemu-arm REQUIRED)
set(CMAKE_CROSSCOMPILING_EMULATOR "${QEMU_ARM}" -L "${OSIF_SYSROOT}")
