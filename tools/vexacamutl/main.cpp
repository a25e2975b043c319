// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// vexacamutl: the library from the command line. This file prepares the process; CommandLine.cpp declares the verbs.
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <exception>
#include <new>
#include <string_view>

#include <VexaCamUtl.h>

#include "CommandLine.h"
#include "Failure.h"
#include "output/Cleanup.h"

namespace {

/// A descriptor of the standard streams that is closed would be given to the next file, and messages would land inside
/// results. It is taken by one on which reading and writing fail.
void HoldStandardStreams() {
    for (int fd = open("/", O_PATH | O_CLOEXEC); fd >= 0; fd = dup(fd)) {
        if (fd > STDERR_FILENO) {
            close(fd);
            return;
        }
    }
}

/// The parser of command lines looks options up in functions that may not throw. Where memory ends in one of them, the
/// runtime calls this; no result is begun by then. What else may not be thrown aborts the tool, as without this
/// function.
[[noreturn]] void EndWithoutMemory() noexcept {
    static constexpr std::string_view kLine = "vexacamutl: out of memory\n";
    std::set_terminate(std::abort);
    try {
        throw;
    } catch (const std::bad_alloc&) {
        [[maybe_unused]] const auto written = write(STDERR_FILENO, kLine.data(), kLine.size());
        _exit(static_cast<int>(VexaTool::ExitCode::kNoMemory));
    }
}

void Prepare() {
    std::set_terminate(EndWithoutMemory);
    HoldStandardStreams();
    VexaTool::InstallSignalHandling();
    PrepareLUT();
}

}  // namespace

int main(int argc, char** argv) {
    return VexaTool::RunCommandLine(argc, argv, Prepare);
}
