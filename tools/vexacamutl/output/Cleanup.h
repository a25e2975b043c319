// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// No debris when a signal ends the tool (Ctrl-C, kill, a time limit, a closed pipe).
//
// Results get their names under one lock. A thread of its own waits for the signals; it takes the lock for good, so
// that no name is half given, removes the unfinished files that have one, and lets the signal end the tool.
//
// Only file systems without anonymous files have such names (see OutputFile.h); everywhere else an unfinished file
// has none that could stay behind, not even after SIGKILL. Signals that report a fault of the tool itself (SIGSEGV,
// SIGABRT and the like) end it at once.
#pragma once

#include <mutex>
#include <string>

namespace VexaTool {

/// From here on signals end the tool tidily. A mapped input that shrinks while it is read (SIGBUS) ends it with one
/// line and the input exit code. Writing beyond a file size limit and into a closed pipe become errors of the write.
/// To be called before other threads start.
void InstallSignalHandling();

/// Ends the tool as a write into a closed pipe does, by SIGPIPE. Returns where the caller of the tool ignores that
/// signal: then the write is an error like others.
void EndByClosedPipe();

/// To be held while a file gets or changes its name.
using NamesLock = std::unique_lock<std::mutex>;
[[nodiscard]] NamesLock LockNames();

/// The names of unfinished files. The lock is asked for so that it cannot be left out.
void RememberUnfinished(const std::string& path, const NamesLock& held);
void ForgetUnfinished(const std::string& path, const NamesLock& held);

}  // namespace VexaTool
