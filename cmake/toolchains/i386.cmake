# SPDX-License-Identifier: BSD-2-Clause
# Little-endian 32-bit target: checks the word size (int, long, pointers).
set(TALVOX_CROSS_ARCH i386)
set(TALVOX_CROSS_TRIPLE i686-linux-gnu)
set(TALVOX_CROSS_MULTIARCH i386-linux-gnu)
set(TALVOX_CROSS_PROCESSOR i686)
# An x86-64 kernel usually runs i386 programs itself (see scripts/cross-test).
set(TALVOX_CROSS_LOADER /lib/ld-linux.so.2)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
