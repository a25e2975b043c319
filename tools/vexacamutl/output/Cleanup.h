// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// No debris when a signal ends the program (Ctrl-C, kill, a closed pipe).
//
// Results get their names under one lock. A thread of its own waits for the signals; it takes the lock for good, so
// that no name is half given, removes the unfinished files that have one, and lets the signal end the program.
//
// Only file systems without anonymous files have such names (see OutputFile.h); everywhere else an unfinished file
// has none that could stay behind, not even after SIGKILL.
#pragma once

#include <mutex>
#include <string>

namespace VexaTool {

/// From here on signals end the program tidily. A mapped input that shrinks while it is read (SIGBUS) ends it with one
/// line and the input exit code. Writing beyond a file size limit and into a closed pipe become errors of the write.
/// To be called before other threads start.
void InstallSignalHandling();

/// Ends the program as this signal does.
[[noreturn]] void EndBySignal(int number);

/// To be held while a file gets or changes its name.
std::unique_lock<std::mutex> LockNames();

/// The names of unfinished files; to be called with the names locked.
void RememberUnfinished(const std::string& path);
void ForgetUnfinished(const std::string& path);

}  // namespace VexaTool
