// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// vexacamutl: the library from the command line. This file prepares the process; CommandLine.cpp declares the verbs.
#include <fcntl.h>
#include <unistd.h>

#include <VexaCamUtl.h>

#include "CommandLine.h"
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

void Prepare() {
    HoldStandardStreams();
    VexaTool::InstallSignalHandling();
    PrepareLUT();
}

}  // namespace

int main(int argc, char** argv) {
    return VexaTool::RunCommandLine(argc, argv, Prepare);
}
