// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Turns an exception thrown while a file is read or written into a status. A thread that is cancelled inside a
// blocking call unwinds by an exception too; swallowing that one would abort the process, so it is passed on.
#pragma once

#include <cxxabi.h>

#include <VexaCamUtl.h>

namespace Vexa {

template <class Work>
UtlStatus GuardedFileWork(UtlStatus statusOnException, Work work) {
    try {
        return work();
    } catch (const abi::__forced_unwind&) {
        throw;
    } catch (...) {
        return statusOnException;
    }
}

}  // namespace Vexa
