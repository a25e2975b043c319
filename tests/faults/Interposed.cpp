// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The replacements. They reach the kernel by plain system calls, and the C library's fopen64 and fclose by the loader.
#include "Interposed.h"

#include <dlfcn.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace Faults {
namespace {

bool inForce = false;
Plan inUse;
Tally tally;
std::atomic<int64_t> liveBlocks{0};

int64_t FailWith(int error) {
    ++tally.faultsHit;
    errno = error;
    return -1;
}

/// Standard output and error stay as they are: the test runner reports through them.
bool Concerns(int descriptor) {
    return inForce && descriptor > STDERR_FILENO;
}

bool Interrupts() {
    return inUse.interruptEverySecond && tally.transfers % 2 == 1;
}

/// How many of `size` bytes may move, or -1 with errno set; `left` is what the plan still allows.
int64_t Allow(size_t size, uint64_t& left, int error, bool wholeOnly) {
    ++tally.transfers;
    if (Interrupts()) {
        return FailWith(EINTR);
    }
    const uint64_t wanted = std::min(size, inUse.bytesPerCall);
    if (wanted > 0 && (left == 0 || (wholeOnly && left < wanted))) {
        return FailWith(error);
    }
    const uint64_t allowed = std::min<uint64_t>(wanted, left);
    if (left != kNever) {
        left -= allowed;
    }
    return static_cast<int64_t>(allowed);
}

template <class Function>
Function* Next(const char* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

Fault::Fault(const Plan& plan) {
    inUse = plan;
    tally = {};
    inForce = true;
}

Fault::~Fault() {
    inForce = false;
}

const Tally& Fault::Seen() {
    return tally;
}

int64_t LiveBlocks() {
    return liveBlocks;
}

}  // namespace Faults

using namespace Faults;

// The C library's headers name the parameters of these in their own, reserved way.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)
extern "C" {

ssize_t write(int descriptor, const void* bytes, size_t size) {
    int64_t allowed = static_cast<int64_t>(size);
    if (Concerns(descriptor)) {
        allowed = Allow(size, inUse.diskBytes, ENOSPC, inUse.wholeWritesOnly);
    }
    return allowed < 0 ? -1 : ::syscall(SYS_write, descriptor, bytes, static_cast<size_t>(allowed));
}

ssize_t writev(int descriptor, const iovec* parts, int count) {
    if (!Concerns(descriptor)) {
        return ::syscall(SYS_writev, descriptor, parts, count);
    }
    size_t size = 0;
    for (int i = 0; i < count; ++i) {
        size += parts[i].iov_len;
    }
    const int64_t allowed = Allow(size, inUse.diskBytes, ENOSPC, inUse.wholeWritesOnly);
    size_t left = allowed < 0 ? 0 : static_cast<size_t>(allowed);
    for (int i = 0; i < count && left > 0; ++i) {
        const size_t part = std::min(left, parts[i].iov_len);
        if (::syscall(SYS_write, descriptor, parts[i].iov_base, part) != static_cast<long>(part)) {
            return -1;
        }
        left -= part;
    }
    return allowed;
}

ssize_t read(int descriptor, void* bytes, size_t size) {
    int64_t allowed = static_cast<int64_t>(size);
    if (Concerns(descriptor)) {
        allowed = Allow(size, inUse.readError, EIO, false);
    }
    return allowed < 0 ? -1 : ::syscall(SYS_read, descriptor, bytes, static_cast<size_t>(allowed));
}

FILE* fopen64(const char* path, const char* mode) {
    if (inForce) {
        ++tally.opens;
        if (inUse.openError != 0) {
            FailWith(inUse.openError);
            return nullptr;
        }
    }
    return Next<FILE*(const char*, const char*)>("fopen64")(path, mode);
}

int fclose(FILE* file) {
    const int result = Next<int(FILE*)>("fclose")(file);
    if (!inForce) {
        return result;
    }
    ++tally.closes;
    return inUse.closeFails ? static_cast<int>(FailWith(EIO)) : result;
}

}  // extern "C"
// NOLINTEND(readability-inconsistent-declaration-parameter-name)

#ifndef VEXACAMUTL_NEW_IS_TAKEN

namespace {

void* Allocate(size_t size) {
    if (inForce) {
        ++tally.allocations;
        if (inUse.allocations == 0) {
            ++tally.faultsHit;
            throw std::bad_alloc();
        }
        inUse.allocations -= inUse.allocations == kNever ? 0 : 1;
    }
    void* block = std::malloc(std::max<size_t>(size, 1));
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    ++liveBlocks;
    return block;
}

void Release(void* block) {
    liveBlocks -= block == nullptr ? 0 : 1;
    std::free(block);
}

}  // namespace

void* operator new(size_t size) {
    return Allocate(size);
}

void* operator new[](size_t size) {
    return Allocate(size);
}

void operator delete(void* block) noexcept {
    Release(block);
}

void operator delete[](void* block) noexcept {
    Release(block);
}

void operator delete(void* block, size_t) noexcept {
    Release(block);
}

void operator delete[](void* block, size_t) noexcept {
    Release(block);
}

#endif
