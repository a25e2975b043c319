// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// No debris: names of unfinished files, removed when a signal ends the program (Ctrl-C, kill, a closed pipe).
//
// Only file systems without anonymous files need this (see OutputFile.h); everywhere else an unfinished file has no
// name that could stay behind, not even after SIGKILL.
#pragma once

namespace VexaTool {

/// Signals that end the program remove the remembered files first. A mapped input that shrinks while it is read
/// (SIGBUS) ends the program with one line and the input exit code. Writing beyond a file size limit becomes an
/// ordinary error.
void InstallSignalHandlers();

/// Remembers the name of an unfinished file. The text has to live until Forget is called with the same pointer.
void RememberUnfinished(const char* path);
void ForgetUnfinished(const char* path);

}  // namespace VexaTool
