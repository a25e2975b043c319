// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Turns an exception thrown while a file is read or written into a status. A thread that is cancelled inside a
// blocking call unwinds through the handlers of exceptions too; stopping it there would abort the process, so it is
// passed on.
#pragma once

#include <cxxabi.h>

#include <VexaCamUtl.h>

namespace Vexa {

// Cancellation has a type for handlers and no object behind it, so nothing reads the reference; the sanitizer checks
// it all the same. (Asking std::current_exception() instead needs a C++ runtime of GCC 11 or later.)
template <class Work>
__attribute__((no_sanitize("undefined"))) UtlStatus GuardedFileWork(UtlStatus statusOnException, Work work) {
    try {
        return work();
#if defined(__GLIBCXX__)  // elsewhere nothing unwinds but exceptions
    } catch (const abi::__forced_unwind&) {
        throw;
#endif
    } catch (...) {
        return statusOnException;
    }
}

}  // namespace Vexa
