# Toolchain for 64-bit ARM on x86-64, used by scripts/arm: Debian's cross compiler, packages of that
# architecture in ACTIVESET_ARM_ROOT, and qemu to run programs.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(ACTIVESET_ARM_ROOT "" CACHE PATH "Folder with Debian's packages for arm64")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ACTIVESET_ARM_ROOT)

set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64-static;-L;${ACTIVESET_ARM_ROOT})
set(CMAKE_SYSROOT ${ACTIVESET_ARM_ROOT})
set(CMAKE_FIND_ROOT_PATH ${ACTIVESET_ARM_ROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(ACTIVESET_LD aarch64-linux-gnu-ld.bfd CACHE STRING "")
set(ACTIVESET_OBJCOPY aarch64-linux-gnu-objcopy CACHE STRING "")
set(Python_EXECUTABLE /usr/bin/python3 CACHE FILEPATH "")
set(Python_SOABI cpython-311-aarch64-linux-gnu CACHE STRING "")
set(Python_INCLUDE_DIR ${ACTIVESET_ARM_ROOT}/usr/include/python3.11 CACHE PATH "")
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${ACTIVESET_ARM_ROOT})
set(ENV{PKG_CONFIG_LIBDIR}
    ${ACTIVESET_ARM_ROOT}/usr/lib/aarch64-linux-gnu/pkgconfig:${ACTIVESET_ARM_ROOT}/usr/share/pkgconfig)
