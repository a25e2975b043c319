// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Faults on demand beneath the file streams. The executable defines write, writev, read, fopen64, fclose and the
// global operator new; the dynamic loader makes libstdc++ use these. They behave as usual until a Fault is in force.
//
//     library -> std::ofstream -> write(), here -> the fault in force, or the kernel
#pragma once

#include <cstddef>
#include <cstdint>

namespace Faults {

inline constexpr uint64_t kNever = UINT64_MAX;

/// What goes wrong from now on; counted over all files, as a test has only one open.
struct Plan {
    uint64_t diskBytes = kNever;     ///< bytes that can still be written; then ENOSPC
    bool wholeWritesOnly = false;    ///< a write that does not fit writes nothing instead of a part
    size_t bytesPerCall = SIZE_MAX;  ///< a write or read moves at most this many
    bool interruptEverySecond = false;
    uint64_t readError = kNever;  ///< bytes that can still be read; then EIO
    int openError = 0;            ///< every open fails with this errno
    bool closeFails = false;
    uint64_t allocations = kNever;  ///< uses of operator new that still succeed
};

/// What happened since the fault came into force.
struct Tally {
    uint64_t faultsHit = 0;
    uint64_t transfers = 0;  ///< calls of write, writev and read
    uint64_t opens = 0;
    uint64_t closes = 0;
    uint64_t allocations = 0;
};

/// A plan in force as long as this object lives.
class Fault {
  public:
    explicit Fault(const Plan& plan);
    Fault(const Fault&) = delete;
    Fault& operator=(const Fault&) = delete;
    ~Fault();

    static const Tally& Seen();
};

/// Blocks of operator new that are alive, in the whole process; 0 in a build that cannot replace operator new.
int64_t LiveBlocks();

}  // namespace Faults
