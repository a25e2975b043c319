# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
# shellcheck shell=bash
#
# The Debian 12 packages that working on this project takes, in groups, and the one function that installs what is
# missing of them. To be sourced:  . scripts/packages.sh; require_packages BUILD TEST

# shellcheck disable=SC2034  # the groups are read by name, through a reference
PACKAGES_BUILD=(cmake ninja-build g++ pkg-config libcli11-dev libpng-dev
    libtiff-dev libjpeg62-turbo-dev libdeflate-dev libisal-dev)
PACKAGES_TEST=(libgtest-dev libgmock-dev libswscale-dev libavutil-dev libaravis-dev libusb-1.0-0-dev
    libopencv-dev python3 python3-numpy python3-pytest python3-clang-14 python3-matplotlib mypy doxygen groff-base
    qemu-user clang dpkg-dev fakeroot file git
    python3-build python3-setuptools python3-wheel python3-venv binutils
    libgstreamer1.0-dev libgstreamer-plugins-base1.0-dev gstreamer1.0-tools gstreamer1.0-plugins-base
    gstreamer1.0-plugins-good gstreamer1.0-plugins-bad gstreamer1.0-plugins-ugly gstreamer1.0-libav gstreamer1.0-x
    xvfb xauth python3-gi gir1.2-gstreamer-1.0 ffmpeg python3-z3
    python3-dask python3-distributed python3-numcodecs python3-zarr parallel llvm-19)
PACKAGES_DOCS=(doxygen python3)
PACKAGES_BENCH=(libbenchmark-dev valgrind libyuv-dev libdc1394-dev libswscale-dev libavutil-dev
    libopencv-dev libgstreamer1.0-dev libgstreamer-plugins-base1.0-dev gstreamer1.0-plugins-bad python3-matplotlib
    python3-numpy ffmpeg llvm-19 binutils)
PACKAGES_CHECK=(clang clang-format clang-tidy libclang-rt-dev shellcheck lintian)
PACKAGES_PACKAGE=(dpkg-dev debhelper dh-python lintian git python3 python3-numpy
    libgstreamer1.0-dev libgstreamer-plugins-base1.0-dev gstreamer1.0-tools)
PACKAGES_WHEEL=(binutils python3 python3-build python3-setuptools python3-wheel python3-venv python3-numpy)
PACKAGES_QEMU=(qemu-user)
PACKAGES_AARCH64=(qemu-user g++-aarch64-linux-gnu googletest)
PACKAGES_ABI=(abigail-tools valgrind)
PACKAGES_RELEASE=(git minisign python3)
PACKAGES_COVERAGE=(gcovr python3-coverage)
PACKAGES_MUTATE=(python3-clang-14 qemu-user)
PACKAGES_VIEWER=(emscripten nodejs esbuild googletest chromium chromium-driver python3 python3-numpy python3-pytest
    python3-selenium)
PACKAGES_MEMORY=(emscripten googletest libclang-rt-dev)
PACKAGES_PROOFS=(python3 python3-pytest python3-z3)
PACKAGES_ARCHIVE=(python3-dask python3-distributed python3-numcodecs python3-zarr python3-numpy python3-pytest parallel
    slurm-wlm munge)

# Prints which packages of the named groups are not installed, in one line.
missing_packages() {
    local group package missing=()
    for group in "$@"; do
        local -n packages="PACKAGES_$group"
        for package in "${packages[@]}"; do
            if ! dpkg-query --show --showformat='${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed; then
                missing+=("$package")
            fi
        done
    done
    echo "${missing[*]}"
}

# Installs, with apt-get, the packages of the named groups that are not installed yet.
require_packages() {
    local missing
    read -ra missing <<<"$(missing_packages "$@")"
    if ((${#missing[@]} == 0)); then
        return 0
    fi
    local as_root=()
    if ((EUID != 0)); then
        as_root=(sudo)
    fi
    echo "Installing: ${missing[*]}" >&2
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -qq >/dev/null
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}
