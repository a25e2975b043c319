# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# Cross-building for 64-bit ARM with Debian's g++-aarch64-linux-gnu; the tests run under qemu-user. GoogleTest for
# the target is built from Debian's sources by scripts/test-aarch64.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)

set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L /usr/aarch64-linux-gnu)

set(CMAKE_FIND_ROOT_PATH /usr/aarch64-linux-gnu)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# pkg-config is a program of this machine and would answer for its libraries.
set(ENV{PKG_CONFIG_LIBDIR} /usr/aarch64-linux-gnu/lib/pkgconfig)
