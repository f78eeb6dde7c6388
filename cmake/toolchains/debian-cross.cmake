# SPDX-License-Identifier: BSD-2-Clause
# Cross build against a Debian sysroot, run under user-mode qemu.
# Included by the per-target files, which set:
#   TALVOX_CROSS_ARCH       Debian architecture (s390x, i386)
#   TALVOX_CROSS_TRIPLE     prefix of the cross compiler (s390x-linux-gnu-g++)
#   TALVOX_CROSS_MULTIARCH  multiarch library directory (s390x-linux-gnu)
#   TALVOX_CROSS_PROCESSOR  CMAKE_SYSTEM_PROCESSOR
#   TALVOX_CROSS_LOADER     (optional) the program loader inside the sysroot,
#                           for hosts that run the target's code natively
#                           (used when the environment has TALVOX_CROSS_NATIVE=1)
# The sysroot is $TALVOX_SYSROOT, else the cache of scripts/cross-test.
# Only the bus-free core is meant to build this way (TALVOX_PORTABLE_ONLY).

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${TALVOX_CROSS_PROCESSOR})

if(DEFINED ENV{TALVOX_SYSROOT})
    set(CMAKE_SYSROOT "$ENV{TALVOX_SYSROOT}")
else()
    set(CMAKE_SYSROOT "/var/cache/talvox-sysroots/${TALVOX_CROSS_ARCH}")
endif()

set(CMAKE_C_COMPILER ${TALVOX_CROSS_TRIPLE}-gcc)
set(CMAKE_CXX_COMPILER ${TALVOX_CROSS_TRIPLE}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${TALVOX_CROSS_MULTIARCH})

# Headers, libraries and CMake packages from the sysroot; programs from the host.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

if("$ENV{TALVOX_CROSS_NATIVE}" STREQUAL "1" AND DEFINED TALVOX_CROSS_LOADER)
    # The host runs this target's programs itself: link them against the
    # sysroot's loader and libraries (RPATH, which also covers the libraries'
    # own dependencies), so a test that starts a program runs it the same way.
    string(APPEND CMAKE_EXE_LINKER_FLAGS_INIT
        " -Wl,--dynamic-linker=${CMAKE_SYSROOT}${TALVOX_CROSS_LOADER} -Wl,--disable-new-dtags"
        " -Wl,-rpath,${CMAKE_SYSROOT}/lib/${TALVOX_CROSS_MULTIARCH}:${CMAKE_SYSROOT}/usr/lib/${TALVOX_CROSS_MULTIARCH}")
else()
    # ctest and try_run start target programs through qemu; -L makes qemu
    # take the target's loader and libraries from the sysroot.
    set(CMAKE_CROSSCOMPILING_EMULATOR qemu-${TALVOX_CROSS_ARCH};-L;${CMAKE_SYSROOT})
endif()

# moc only reads and writes text, so the host's moc (same Qt 5.15) serves for
# any target; the sysroot's own moc is a foreign binary. Qt5Core's CMake
# package keeps an existing Qt5::moc target, so defining it here wins.
set(TALVOX_HOST_MOC /usr/lib/qt5/bin/moc)
if(NOT TARGET Qt5::moc AND EXISTS ${TALVOX_HOST_MOC})
    add_executable(Qt5::moc IMPORTED GLOBAL)
    set_target_properties(Qt5::moc PROPERTIES IMPORTED_LOCATION ${TALVOX_HOST_MOC})
endif()
