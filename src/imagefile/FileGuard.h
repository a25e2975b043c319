// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Turns an exception thrown while a file is read or written into a status. A thread that is cancelled inside a
// blocking call unwinds through the handlers of exceptions too; stopping it there would abort the process, so it is
// passed on. It is told by what it is not: a C++ exception. (Catching it by its own type would bind a reference to an
// object that does not exist.)
#pragma once

#include <exception>

#include <VexaCamUtl.h>

namespace Vexa {

template <class Work>
UtlStatus GuardedFileWork(UtlStatus statusOnException, Work work) {
    try {
        return work();
    } catch (...) {
        if (std::current_exception() == nullptr) {
            throw;
        }
        return statusOnException;
    }
}

}  // namespace Vexa
