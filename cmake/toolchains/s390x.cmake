# SPDX-License-Identifier: BSD-2-Clause
# Big-endian 64-bit target: checks the byte order of the line encodings.
set(TALVOX_CROSS_ARCH s390x)
set(TALVOX_CROSS_TRIPLE s390x-linux-gnu)
set(TALVOX_CROSS_MULTIARCH s390x-linux-gnu)
set(TALVOX_CROSS_PROCESSOR s390x)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
