// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// How the tool ends when something is wrong: any function throws a Failure, main prints its one line and returns its
// code. The codes are part of the interface; the man page lists them.
#pragma once

#include <cerrno>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <system_error>

#include "Text.h"

namespace VexaTool {

enum class ExitCode : int {
    kSuccess = 0,
    kSomeFailed = 1,   ///< a batch: some inputs failed, the others were done
    kUsage = 2,        ///< the command line is wrong or says too little
    kInput = 3,        ///< an input cannot be read or does not match its declared format
    kOutput = 4,       ///< a result cannot be written
    kUnsupported = 5,  ///< the operation does not exist for this format or size
    kNoMemory = 6,     ///< out of memory
};

class Failure : public std::runtime_error {
  public:
    Failure(ExitCode code, const std::string& line) : std::runtime_error(line), m_code(code) {}
    ExitCode Code() const { return m_code; }

  private:
    ExitCode m_code;
};

/// The failure with the name of what failed in front, unless the line has it already.
inline Failure WithName(const Failure& failure, const std::string& name) {
    const std::string line = failure.what();
    return {failure.Code(), line.find(name) != std::string::npos ? line : name + ": " + line};
}

/// What the system says about the last call that failed.
inline std::string SystemMessage(int error = errno) {
    return std::generic_category().message(error);
}

/// A line on standard error; nothing can be done if that fails.
inline void SayLine(const std::string& line) {
    static_cast<void>(std::fprintf(stderr, "vexacamutl: %s\n", Printable(line).c_str()));
}

}  // namespace VexaTool
