# SPDX-License-Identifier: BSD-2-Clause
# The board's own CPU: 32-bit big-endian PowerPC (char unsigned), with
# Debian's cross toolchain (g++-powerpc-linux-gnu, its C library in
# /usr/powerpc-linux-gnu) and the Qt and libdbus that scripts/powerpc/build-prefix
# builds from Debian's sources. TALVOX_POWERPC_PREFIX names that prefix
# (scripts/cross-test powerpc sets it).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR powerpc)

set(CMAKE_C_COMPILER powerpc-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER powerpc-linux-gnu-g++)

if(NOT TALVOX_POWERPC_PREFIX)
    set(TALVOX_POWERPC_PREFIX "$ENV{TALVOX_POWERPC_PREFIX}")
endif()
if(NOT TALVOX_POWERPC_PREFIX)
    message(FATAL_ERROR "powerpc: set TALVOX_POWERPC_PREFIX to the prefix scripts/powerpc/build-prefix printed")
endif()
set(TALVOX_POWERPC_PREFIX "${TALVOX_POWERPC_PREFIX}" CACHE PATH "Qt and libdbus built for powerpc")
# CMake's own test builds read this file too.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES TALVOX_POWERPC_PREFIX)

# Target libraries and CMake packages from the prefix and the cross C
# library; programs (Qt's moc and qdbusxml2cpp in the prefix are host
# programs) from anywhere.
set(CMAKE_FIND_ROOT_PATH "${TALVOX_POWERPC_PREFIX}" /usr/powerpc-linux-gnu)
set(CMAKE_PREFIX_PATH "${TALVOX_POWERPC_PREFIX}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# pkg-config would offer the host's libraries.
set(ENV{PKG_CONFIG_LIBDIR} "${TALVOX_POWERPC_PREFIX}/lib/pkgconfig")
# The prefix's libraries find each other (libQt5DBus needs libdbus-1) at link time.
string(APPEND CMAKE_EXE_LINKER_FLAGS_INIT " -Wl,-rpath-link,${TALVOX_POWERPC_PREFIX}/lib")

# ctest starts the target's programs through qemu-user, in a PID namespace
# only (scripts/powerpc/qemu-run refuses to run anywhere else).
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../../scripts/powerpc/qemu-run;${TALVOX_POWERPC_PREFIX}")
